#pragma once

#include <tavrix/foundation/Array.h>
#include <tavrix/foundation/detail/Polling.h>
#include <tavrix/foundation/Tuple.h>

namespace tavrix::detail
{

/// The neighbours of every vertex of a mesh, in the order in which the faces wind around it; none for
/// vertices without exactly one closed ring of faces, or with more than 256. Faces that name a vertex twice
/// do not count.
class VertexRings
{
public:
    /// Linear. Means nothing once the polling has stopped.
    VertexRings(uint32 vertexCount, const Array<Index3>& faces, uint32 threadCount, Polling& polling);

    struct Ring
    {
        const uint32* first;
        uint32 size;

        const uint32* begin() const { return first; }
        const uint32* end() const { return first + size; }
    };

    uint32 size() const { return _starts.size() - 1; }
    Ring operator[](uint32 vertex) const
    {
        const uint32 start = _starts[vertex];
        return {_neighbours.data() + start, isClosed(vertex) ? _starts[vertex + 1] - start : 0};
    }

private:
    bool isClosed(uint32 vertex) const { return !_isOpen[vertex]; }
    void collectCorners(const Array<Index3>& faces, uint32 threadCount, Polling& polling);
    bool closeRing(uint32 vertex, const Array<Index3>& faces);

    Array<uint32> _starts;      ///< of each vertex's neighbours, and the end
    Array<uint32> _neighbours;  ///< at first three times the face, plus the corner
    Array<uint8> _isOpen;
};

}  // namespace tavrix::detail
