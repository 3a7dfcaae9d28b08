#include <tavrix/meshproc/detail/MeshParts.h>

#include <algorithm>

#include <tavrix/foundation/detail/RankExchange.h>
#include <tavrix/foundation/detail/SortOnce.h>
#include <tavrix/foundation/detail/UnionFind.h>

namespace tavrix::detail
{

namespace
{

/// Two numbers of which the same is to be thought.
struct Pair
{
    uint32 a, b;

    // NOLINTNEXTLINE(modernize-use-nullptr): there is no pointer
    friend auto operator<=>(const Pair&, const Pair&) = default;
};

/// Joins the numbers [0, count) of all ranks by pairs of which each rank has some. Returns the number of the
/// set of each of the rank's own, which start at starts[rank]. The first rank joins them.
std::vector<uint32> setsOver(RankGroup& ranks, const std::vector<int64>& starts,
                             const std::vector<Pair>& pairs)
{
    const auto told = exchangeRecords<Pair>(ranks,
                                            [&](const auto& send)
                                            {
                                                for (const Pair& pair : pairs) send(0, pair);
                                            });
    UnionFind united(ranks.rank() == 0 ? static_cast<uint32>(starts.back()) : 0);
    for (const Pair& pair : told.records) united.unite(pair.a, pair.b);
    std::vector<uint32> sets(ranks.rank() == 0 ? static_cast<std::size_t>(starts.back()) : 0);
    uint32 count = 0;
    for (uint32 n = 0; n < sets.size(); ++n)
    {
        const uint32 root = united.find(n);
        sets[n] = root == n ? count++ : sets[root];
    }
    const auto own = exchangeRecords<uint32>(ranks,
                                             [&](const auto& send)
                                             {
                                                 for (uint32 r = 0, n = 0; n < sets.size(); ++n)
                                                 {
                                                     while (starts[r + std::size_t{1}] <= n) ++r;
                                                     send(r, sets[n]);
                                                 }
                                             });
    return {own.records.begin(), own.records.end()};
}

}  // namespace

MeshParts::MeshParts(const VertexRings& rings, const MeshBorder& border, uint32 threadCount, Polling& polling)
    : _border(border), _parts(rings.size())
{
    if (!border.all(!polling.isStopped())) return;
    uint32 partCount = joinNeighbours(rings, threadCount, polling);
    if (!border.all(!polling.isStopped())) return;
    if (border.ranks()) partCount = joinOverRanks(partCount);
    sortByPart(partCount);
}

/// Joins what is joined here, and returns the number of parts.
uint32 MeshParts::joinNeighbours(const VertexRings& rings, uint32 threadCount, Polling& polling)
{
    // Every vertex joins its smallest neighbour if that is smaller: few sets are left to be united.
    const auto smallestOf = [&](uint32 v)
    {
        uint32 smallest = v;
        for (const uint32 n : rings[v]) smallest = std::min(smallest, n);
        return smallest;
    };
    const auto forEachVertex = [&](auto task)
    {
        inPieces(polling, rings.size(), scatteredItems, threadCount,
                 [&](uint32 worker, uint64 begin, uint64 end)
                 {
                     for (auto v = static_cast<uint32>(begin); v < end; ++v) task(worker, v);
                 });
    };
    forEachVertex([&](uint32, uint32 v) { _parts[v] = smallestOf(v); });
    if (polling.isStopped()) return 0;
    std::vector<uint32> sets;
    for (uint32 v = 0; v < _parts.size(); ++v)
    {
        if (_parts[v] == v)
        {
            _parts[v] = static_cast<uint32>(sets.size());
            sets.push_back(v);
        }
        else
            _parts[v] = _parts[_parts[v]];
    }

    std::vector<std::vector<Pair>> found(std::max(threadCount, 1u));
    forEachVertex(
        [&](uint32 worker, uint32 v)
        {
            for (const uint32 n : rings[v])
                if (_parts[n] != _parts[v]) found[worker].push_back({_parts[v], _parts[n]});
        });
    UnionFind united(static_cast<uint32>(sets.size()));
    for (const std::vector<Pair>& pairs : found)
        for (const Pair& pair : pairs) united.unite(pair.a, pair.b);
    std::vector<uint32> partOfSet(sets.size());
    uint32 count = 0;
    for (uint32 s = 0; s < sets.size(); ++s)
    {
        const uint32 root = united.find(s);
        partOfSet[s] = root == s ? count++ : partOfSet[root];
    }
    forEachVertex([&](uint32, uint32 v) { _parts[v] = partOfSet[_parts[v]]; });
    return count;
}

/// Joins the parts of ranks where one has copies of the other's vertices, and returns how many are left here.
uint32 MeshParts::joinOverRanks(uint32 partCount)
{
    RankGroup& ranks = *_border.ranks();
    std::vector<uint32> known;  // parts that another rank may know, too
    for (const uint32 v : _border.lent()) known.push_back(_parts[v]);
    for (const uint32 v : _border.copies()) known.push_back(_parts[v]);
    sortOnce(known);
    const std::vector<int64> starts = startsOver(ranks, static_cast<int64>(known.size()));
    const auto nameOf = [&](uint32 vertex)
    {
        const auto place = std::lower_bound(known.begin(), known.end(), _parts[vertex]) - known.begin();
        return static_cast<uint32>(starts[ranks.rank()] + place);
    };
    Array<uint32> names(_parts.size());
    for (const uint32 v : _border.lent()) names[v] = nameOf(v);
    _border.update(names);
    std::vector<Pair> pairs;
    for (const uint32 v : _border.copies()) pairs.push_back({nameOf(v), names[v]});
    sortOnce(pairs);
    const std::vector<uint32> sets = setsOver(ranks, starts, pairs);

    // several parts may be one elsewhere
    const uint32 ownMost = sets.empty() ? 0 : *std::max_element(sets.begin(), sets.end()) + 1;
    _wideCount = static_cast<uint32>(largestOf(ranks, ownMost));
    std::vector<uint32> wide(partCount, noIndex), newNumbers(partCount), numberOfWide(_wideCount, noIndex);
    for (std::size_t n = 0; n < known.size(); ++n) wide[known[n]] = sets[n];
    for (uint32 part = 0; part < partCount; ++part)
    {
        const bool isKnown = wide[part] != noIndex && numberOfWide[wide[part]] != noIndex;
        newNumbers[part] = isKnown ? numberOfWide[wide[part]] : static_cast<uint32>(_wideNumbers.size());
        if (isKnown) continue;
        if (wide[part] != noIndex) numberOfWide[wide[part]] = newNumbers[part];
        _wideNumbers.push_back(wide[part]);
    }
    for (uint32& part : _parts) part = newNumbers[part];
    return static_cast<uint32>(_wideNumbers.size());
}

void MeshParts::sortByPart(uint32 partCount)
{
    _starts.assign(partCount + std::size_t{1}, 0);
    for (uint32 v = 0; v < _parts.size(); ++v)
        if (!_border.isCopy(v)) ++_starts[_parts[v] + std::size_t{1}];
    for (uint32 part = 0; part < partCount; ++part) _sizes.push_back({_starts[part + std::size_t{1}]});
    if (_wideCount > 0) combineOverRanks({0}, _sizes);
    for (uint32 part = 0; part < partCount; ++part) _starts[part + 1] += _starts[part];
    std::vector<uint32> places(_starts.begin(), _starts.end() - 1);
    _sorted.resize(_starts.back());
    for (uint32 v = 0; v < _parts.size(); ++v)
        if (!_border.isCopy(v)) _sorted[places[_parts[v]]++] = v;
}

}  // namespace tavrix::detail
