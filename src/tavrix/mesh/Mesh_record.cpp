#include <algorithm>
#include <string_view>

#include <tavrix/foundation/detail/StreamElements.h>
#include <tavrix/foundation/FileRam.h>
#include <tavrix/foundation/FileStreamEndian.h>
#include <tavrix/foundation/FileStreamRaw.h>
#include <tavrix/mesh/Mesh.h>

namespace tavrix
{

using detail::readElements;
using detail::readWhole;
using detail::writeElements;

namespace
{

// Single numbers: as they lie in memory, or in a byte order of the stream's own. What cannot be read whole
// keeps what it held.

template <class Stream>
bool readUInt(Stream& stream, uint32& value)
{
    return readWhole(stream, value);
}

bool readUInt(FileStreamEndian& stream, uint32& value)
{
    return stream.getFile() && ReadUInt(&value, 1, stream.getFile(), stream.getByteOrder()) == 1;
}

template <class Stream>
bool readBox(Stream& stream, Box3D& box)
{
    return readWhole(stream, box);
}

bool readBox(FileStreamEndian& stream, Box3D& box)
{
    Box3D read;
    for (Vector3D* corner : {&read.min, &read.max})
        for (double* value : {&corner->x, &corner->y, &corner->z})
            if (!stream.getFile() || ReadDouble(value, 1, stream.getFile(), stream.getByteOrder()) != 1)
                return false;
    box = read;
    return true;
}

template <class Stream>
void writeUInt(Stream& stream, uint32 value)
{
    stream.write(&value, sizeof value);
}

void writeUInt(FileStreamEndian& stream, uint32 value)
{
    if (stream.getFile()) WriteUInt(&value, 1, stream.getFile(), stream.getByteOrder());
}

template <class Stream>
void writeBox(Stream& stream, const Box3D& box)
{
    stream.write(&box, sizeof box);
}

void writeBox(FileStreamEndian& stream, const Box3D& box)
{
    if (!stream.getFile()) return;
    for (const Vector3D& corner : {box.min, box.max})
        for (const double value : {corner.x, corner.y, corner.z})
            WriteDouble(&value, 1, stream.getFile(), stream.getByteOrder());
}

template <class Stream, class T>
bool readArray(Stream& stream, Array<T>& array)
{
    uint32 count = 0;
    return readUInt(stream, count) && readElements(stream, array, count);
}

template <class Stream, class T>
void writeArray(Stream& stream, const Array<T>& array)
{
    writeUInt(stream, array.size());
    writeElements(stream, array.data(), array.size());
}

/// The characters before the first zero byte.
template <class Stream>
bool readName(Stream& stream, TX_String& name)
{
    Array<char> characters;
    uint32 size = 0;
    const bool whole = readUInt(stream, size) && readElements(stream, characters, size);
    const char* zero = std::find(characters.begin(), characters.end(), '\0');
    name =
        TX_String(std::string_view(characters.data(), static_cast<std::size_t>(zero - characters.begin())));
    return whole;
}

template <class Stream>
void writeName(Stream& stream, const TX_String& name)
{
    const uint32 size = name.size() + 1;
    writeUInt(stream, size);
    writeElements(stream, name.c_str(), size);
}

}  // namespace

template <class Stream>
void Mesh::saveBasic(Stream& stream) const
{
    writeUInt(stream, _flags);
    writeName(stream, _name);
    writeBox(stream, _box);
    writeUInt(stream, _id);
    writeArray(stream, trindexPos());
    writeArray(stream, pos());
    writeArray(stream, trindexNor());
    writeArray(stream, nor());
    writeArray(stream, faceNor());
    writeArray(stream, trindexFacedge());
}

template <class Stream>
void Mesh::loadBasic(Stream& stream)
{
    unreserve();
    // what is cut off ends the reading: the bytes behind it are no longer where the record has them
    static_cast<void>(readUInt(stream, _flags) && readName(stream, _name) && readBox(stream, _box) &&
                      readUInt(stream, _id) && readArray(stream, refTrindexPos()) &&
                      readArray(stream, refPos()) && readArray(stream, refTrindexNor()) &&
                      readArray(stream, refNor()) && readArray(stream, refFaceNor()) &&
                      readArray(stream, refTrindexFacedge()));
}

template TX_GEOMETRY_API void Mesh::saveBasic(FileStreamRaw&) const;
template TX_GEOMETRY_API void Mesh::saveBasic(FileStreamEndian&) const;
template TX_GEOMETRY_API void Mesh::saveBasic(FileRam&) const;
template TX_GEOMETRY_API void Mesh::loadBasic(FileStreamRaw&);
template TX_GEOMETRY_API void Mesh::loadBasic(FileStreamEndian&);
template TX_GEOMETRY_API void Mesh::loadBasic(FileRam&);

}  // namespace tavrix
