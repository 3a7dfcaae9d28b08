#include <tavrix/meshproc/detail/VertexRings.h>

#include <algorithm>
#include <vector>

namespace tavrix::detail
{

namespace
{

bool hasThreeCorners(const Index3& f) { return f.a != f.b && f.b != f.c && f.c != f.a; }

/// Which vertices the faces of each batch use, at least and at most. Neighbouring faces mostly use
/// neighbouring vertices, so that a worker that looks for those of a range can pass over most batches.
class FaceBatches
{
public:
    static constexpr uint32 size = 256;

    FaceBatches(const Array<Index3>& faces, uint32 threadCount, Polling& polling)
        : _faces(faces), _batches(faces.size() / size + 1)
    {
        inPieces(polling, _batches.size(), lightItems / size + 1, threadCount,
                 [&](uint32, uint64 begin, uint64 end)
                 {
                     for (uint64 b = begin; b < end; ++b) _batches[b] = measure(static_cast<uint32>(b));
                 });
    }

    /// Calls task(vertex, 3 face + corner) for the corners at vertices in [low, high), in their order.
    template <class Task>
    void forEachCornerIn(uint32 low, uint32 high, Task task) const
    {
        for (uint32 b = 0; b < _batches.size(); ++b)
        {
            if (_batches[b].high < low || _batches[b].low >= high) continue;
            for (uint32 f = b * size, end = endOf(b); f < end; ++f)
                for (uint32 c = 0; c < 3; ++c)
                    if (_faces[f][c] >= low && _faces[f][c] < high && hasThreeCorners(_faces[f]))
                        task(_faces[f][c], 3 * f + c);
        }
    }

private:
    struct Batch
    {
        uint32 low, high;  ///< closed
    };

    uint32 endOf(uint32 b) const
    {
        return static_cast<uint32>(std::min<uint64>((uint64{b} + 1) * size, _faces.size()));
    }

    Batch measure(uint32 b) const
    {
        Batch batch{~0u, 0};
        for (uint32 f = b * size, end = endOf(b); f < end; ++f)
        {
            batch.low = std::min({batch.low, _faces[f].a, _faces[f].b, _faces[f].c});
            batch.high = std::max({batch.high, _faces[f].a, _faces[f].b, _faces[f].c});
        }
        return batch;
    }

    const Array<Index3>& _faces;
    std::vector<Batch> _batches;
};

}  // namespace

VertexRings::VertexRings(uint32 vertexCount, const Array<Index3>& faces, uint32 threadCount, Polling& polling)
    : _starts(vertexCount + 1), _neighbours(3 * faces.size()), _isOpen(vertexCount)
{
    collectCorners(faces, threadCount, polling);
    if (polling.isStopped()) return;
    inPieces(polling, vertexCount, scatteredItems, threadCount,
             [&](uint32, uint64 begin, uint64 end)
             {
                 for (auto v = static_cast<uint32>(begin); v < end; ++v) _isOpen[v] = !closeRing(v, faces);
             });
}

/// Sorts the corners by their vertices: counts them, then puts each in its place. Every worker takes the
/// vertices of a range.
void VertexRings::collectCorners(const Array<Index3>& faces, uint32 threadCount, Polling& polling)
{
    const FaceBatches batches(faces, threadCount, polling);
    const uint32 vertexCount = _isOpen.size(),
                 ranges = threadsWorth(vertexCount, scatteredItems, threadCount);
    const auto forEachRange = [&](auto task)
    {
        polledFor(polling, ranges, ranges,
                  [&](uint32, uint64 w, uint64)
                  {
                      const auto at = [&](uint64 n)
                      { return static_cast<uint32>(uint64{vertexCount} * n / ranges); };
                      task(at(w), at(w + 1));
                  });
    };
    forEachRange(
        [&](uint32 low, uint32 high)
        {
            std::fill(_starts.begin() + low, _starts.begin() + high, 0u);
            batches.forEachCornerIn(low, high, [&](uint32 vertex, uint32) { ++_starts[vertex]; });
        });
    uint32 sum = 0;
    for (uint32 v = 0; v < vertexCount; ++v) _starts[v] = sum += _starts[v];
    _starts[vertexCount] = sum;
    // from the end of each vertex's place to its start
    forEachRange(
        [&](uint32 low, uint32 high)
        {
            batches.forEachCornerIn(
                low, high, [&](uint32 vertex, uint32 corner) { _neighbours[--_starts[vertex]] = corner; });
        });
}

/// Turns the corners at a vertex into its ring; false when they make none.
bool VertexRings::closeRing(uint32 vertex, const Array<Index3>& faces)
{
    uint32* const ring = _neighbours.data() + _starts[vertex];
    const uint32 size = _starts[vertex + 1] - _starts[vertex];
    constexpr uint32 most = 256;  // for the search below takes their square
    if (size < 3 || size > most) return false;
    const auto nextOf = [&](uint32 corner) { return faces[corner / 3][(corner + 1) % 3]; };
    const auto previousOf = [&](uint32 corner) { return faces[corner / 3][(corner + 2) % 3]; };
    for (uint32 n = 0; n + 1 < size; ++n)
    {
        const uint32 wanted = previousOf(ring[n]);
        uint32 found = n + 1;
        while (found < size && nextOf(ring[found]) != wanted) ++found;
        if (found == size) return false;
        std::swap(ring[n + 1], ring[found]);
    }
    if (previousOf(ring[size - 1]) != nextOf(ring[0])) return false;
    for (uint32 n = 0; n < size; ++n) ring[n] = nextOf(ring[n]);
    return true;
}

}  // namespace tavrix::detail
