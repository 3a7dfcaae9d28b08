#pragma once

#include <algorithm>
#include <array>
#include <vector>

#include <tavrix/mesh/detail/MeshBorder.h>
#include <tavrix/meshproc/detail/VertexRings.h>

namespace tavrix::detail
{

/// What belongs together on a mesh of closed rings, and totals over it. Parts may lie on several ranks; each
/// knows those of its own vertices and copies, and all have the same totals of a part. Calls are collective.
class MeshParts
{
public:
    /// Numbers the parts by their first vertices here. Linear.
    MeshParts(const VertexRings& rings, const MeshBorder& border, uint32 threadCount, Polling& polling);

    uint32 count() const { return static_cast<uint32>(_sizes.size()); }
    uint32 partOf(uint32 vertex) const { return _parts[vertex]; }
    /// The vertices of a part, on all ranks.
    int64 sizeOf(uint32 part) const { return _sizes[part][0]; }

    /// Calls add(totals of the part, vertex) for all vertices but copies. Totals are arrays of int64, which
    /// are summed up, or of double, of which the largest count: neither depends on the order. All start as
    /// none.
    template <class Totals, class Add>
    std::vector<Totals> totalOver(const Totals& none, uint32 threadCount, Polling& polling, Add add) const;

private:
    uint32 joinNeighbours(const VertexRings& rings, uint32 threadCount, Polling& polling);
    uint32 joinOverRanks(uint32 partCount);
    void sortByPart(uint32 partCount);
    template <class Totals>
    void combineOverRanks(const Totals& none, std::vector<Totals>& totals) const;

    static void combine(int64& total, int64 other) { total += other; }
    static void combine(double& total, double other) { total = std::max(total, other); }

    const MeshBorder& _border;
    Array<uint32> _parts;         ///< of the vertices
    Array<uint32> _sorted;        ///< vertices but copies by part, then ascending
    std::vector<uint32> _starts;  ///< of each part among them, and the end
    std::vector<std::array<int64, 1>> _sizes;
    /// The number of a part among those that may lie on several ranks; noIndex for others.
    std::vector<uint32> _wideNumbers;
    uint32 _wideCount = 0;
};

template <class Totals, class Add>
std::vector<Totals> MeshParts::totalOver(const Totals& none, uint32 threadCount, Polling& polling,
                                         Add add) const
{
    struct Run
    {
        uint32 part, begin, end;
        Totals totals{};
    };
    constexpr uint32 length = 1 << 14;
    std::vector<Run> runs;
    for (uint32 part = 0; part < count(); ++part)
        for (uint32 begin = _starts[part]; begin < _starts[part + 1]; begin += length)
            runs.push_back({part, begin, std::min(begin + length, _starts[part + 1])});
    inTurns(polling, runs.size(), threadsWorth(_sorted.size(), scatteredItems, threadCount),
            [&](uint32, uint64 r)
            {
                Totals totals = none;
                for (uint32 n = runs[r].begin; n < runs[r].end; ++n) add(totals, _sorted[n]);
                runs[r].totals = totals;
            });
    std::vector<Totals> totals(count(), none);
    for (const Run& run : runs)
        for (std::size_t n = 0; n < none.size(); ++n) combine(totals[run.part][n], run.totals[n]);
    if (_wideCount > 0) combineOverRanks(none, totals);
    return totals;
}

template <class Totals>
void MeshParts::combineOverRanks(const Totals& none, std::vector<Totals>& totals) const
{
    std::vector<Totals> wide(_wideCount, none);
    for (uint32 part = 0; part < count(); ++part)
        if (_wideNumbers[part] != noIndex) wide[_wideNumbers[part]] = totals[part];
    _border.combine({wide.front().data(), wide.size() * none.size()});
    for (uint32 part = 0; part < count(); ++part)
        if (_wideNumbers[part] != noIndex) totals[part] = wide[_wideNumbers[part]];
}

}  // namespace tavrix::detail
