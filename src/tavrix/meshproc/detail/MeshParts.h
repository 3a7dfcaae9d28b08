#pragma once

#include <algorithm>
#include <vector>

#include <tavrix/foundation/Vector3.h>
#include <tavrix/meshproc/detail/VertexRings.h>

namespace tavrix::detail
{

/// What belongs together on a mesh of closed rings, and sums over it.
class MeshParts
{
public:
    /// Numbers the parts by their first vertices. Linear.
    MeshParts(const VertexRings& rings, uint32 threadCount, Polling& polling);

    uint32 count() const { return static_cast<uint32>(_firstVertices.size()); }
    uint32 partOf(uint32 vertex) const { return _parts[vertex]; }
    uint32 firstVertexOf(uint32 part) const { return _firstVertices[part]; }

    /// Calls add(sums of the part, vertex) for all vertices. A part's sums are those of runs of its vertices,
    /// in order: they depend on nothing but the part.
    template <class Sums, class Add>
    std::vector<Sums> sumOver(uint32 threadCount, Polling& polling, Add add) const;

private:
    void sortByPart();

    Array<uint32> _parts;  ///< of the vertices
    std::vector<uint32> _firstVertices;
    Array<uint32> _sorted;        ///< vertices by part, then ascending
    std::vector<uint32> _starts;  ///< of each part among them, and the end
};

template <class Sums, class Add>
std::vector<Sums> MeshParts::sumOver(uint32 threadCount, Polling& polling, Add add) const
{
    struct Run
    {
        uint32 part, begin, end;
        Sums sums{};
    };
    constexpr uint32 length = 1 << 14;
    std::vector<Run> runs;
    for (uint32 part = 0; part < count(); ++part)
        for (uint32 begin = _starts[part]; begin < _starts[part + 1]; begin += length)
            runs.push_back({part, begin, std::min(begin + length, _starts[part + 1])});
    inTurns(polling, runs.size(), threadsWorth(_sorted.size(), scatteredItems, threadCount),
            [&](uint32, uint64 r)
            {
                Sums sums{};
                for (uint32 n = runs[r].begin; n < runs[r].end; ++n) add(sums, _sorted[n]);
                runs[r].sums = sums;
            });
    std::vector<Sums> sums(count());
    for (const Run& run : runs) sums[run.part] += run.sums;
    return sums;
}

}  // namespace tavrix::detail
