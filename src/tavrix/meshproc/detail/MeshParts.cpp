#include <tavrix/meshproc/detail/MeshParts.h>

#include <algorithm>

#include <tavrix/foundation/detail/UnionFind.h>

namespace tavrix::detail
{

MeshParts::MeshParts(const VertexRings& rings, uint32 threadCount, Polling& polling) : _parts(rings.size())
{
    if (polling.isStopped()) return;
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
    if (polling.isStopped()) return;
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

    struct Pair
    {
        uint32 a, b;
    };
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
    for (uint32 s = 0; s < sets.size(); ++s)
    {
        const uint32 root = united.find(s);
        partOfSet[s] = root == s ? count() : partOfSet[root];
        if (root == s) _firstVertices.push_back(sets[s]);
    }
    forEachVertex([&](uint32, uint32 v) { _parts[v] = partOfSet[_parts[v]]; });
    sortByPart();
}

void MeshParts::sortByPart()
{
    _starts.assign(count() + 1, 0);
    for (const uint32 part : _parts) ++_starts[part + 1];
    for (uint32 part = 0; part < count(); ++part) _starts[part + 1] += _starts[part];
    std::vector<uint32> places(_starts.begin(), _starts.end() - 1);
    _sorted.resize(_parts.size());
    for (uint32 v = 0; v < _parts.size(); ++v) _sorted[places[_parts[v]]++] = v;
}

}  // namespace tavrix::detail
