#pragma once

#include <algorithm>
#include <string>

#include <tavrix/foundation/detail/Polling.h>
#include <tavrix/mesh/Mesh.h>

namespace tavrix::detail
{

inline bool hasChannel(const Array<TX_String>& channelNames, const char* name)
{
    return std::find(channelNames.begin(), channelNames.end(), TX_String(name)) != channelNames.end();
}

/// An extra array of a mesh that has one element a position; null when there is none, or it does not fit.
inline const Array<Vector3F>* findPerPosition(const Mesh& mesh, const char* name)
{
    const Array<Vector3F>* array = mesh.findArray<Vector3F>(name);
    return array && !array->empty() && array->size() == mesh.getPosSize() ? array : nullptr;
}

/// True when every corner of the face is a position.
inline bool isInRange(const Index3& face, uint32 positionCount)
{
    return std::max({face.a, face.b, face.c}) < positionCount;
}

/// The number of faces whose corners are positions: those that a file can hold. Means nothing once the
/// polling has stopped.
inline uint32 countFacesInRange(const Mesh& mesh, Polling& polling)
{
    const uint32 positionCount = mesh.getPosSize();
    uint32 count = 0;
    inPieces(polling, mesh.getFacesSize(), lightItems,
             [&](uint64 begin, uint64 end)
             {
                 for (const Index3* face = mesh.trindexPos().data() + begin;
                      face != mesh.trindexPos().data() + end; ++face)
                     count += isInRange(*face, positionCount) ? 1 : 0;
             });
    return count;
}

/// A name that fits into a line of text: line breaks become blanks.
inline std::string inOneLine(const TX_String& name)
{
    std::string line(name.view());
    std::replace_if(
        line.begin(), line.end(), [](char c) { return c == '\n' || c == '\r'; }, ' ');
    return line;
}

}  // namespace tavrix::detail
