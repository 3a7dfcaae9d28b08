#include <tavrix/reconstruction/detail/NodeJoining.h>

#include <algorithm>
#include <tuple>

#include <tavrix/foundation/detail/RankExchange.h>
#include <tavrix/reconstruction/detail/MeshAssembly.h>

namespace tavrix::detail
{

namespace
{

/// A vertex at a node, by name.
struct NamedAtNode
{
    std::array<uint32, 3> node;
    VertexName name;

    friend bool operator<(const NamedAtNode& a, const NamedAtNode& b)
    {
        return std::tie(a.node, a.name) < std::tie(b.node, b.name);
    }
};

std::vector<NamedAtNode> sortedByNode(const Incoming<NodeVertex>& told)
{
    std::vector<NamedAtNode> all;
    all.reserve(told.records.size());
    const NodeVertex* next = told.records.data();
    for (uint32 rank = 0; rank < told.counts.size(); ++rank)
        for (uint32 n = 0; n < told.counts[rank]; ++n, ++next)
            all.push_back({next->node, {next->vertex, rank}});
    std::sort(all.begin(), all.end());
    return all;
}

/// Calls use(vertex, to) for those that share a node with others.
template <class Use>
void forEachJoined(const std::vector<NamedAtNode>& sorted, const Use& use)
{
    for (std::size_t begin = 0, end; begin < sorted.size(); begin = end)
    {
        for (end = begin + 1; end < sorted.size() && sorted[end].node == sorted[begin].node;) ++end;
        for (std::size_t n = begin; n < end && end - begin > 1; ++n) use(sorted[n].name, sorted[begin].name);
    }
}

}  // namespace

std::vector<JoinedVertex> joinOverRanks(RankGroup& ranks, const BlockLattice& lattice,
                                        const BlockOwners& owners, const std::vector<BlockSurface>& surfaces,
                                        const std::vector<BlockCount>& starts)
{
    const auto told = exchangeRecords<NodeVertex>(
        ranks,
        [&](const auto& send)
        {
            for (std::size_t s = 0; s < surfaces.size(); ++s)
                forEachNodeVertex(surfaces[s], starts[s].vertices,
                                  [&](const NodeVertex& v)
                                  {
                                      const BlockIndex home{v.node[0] >> blockShift, v.node[1] >> blockShift,
                                                            v.node[2] >> blockShift};
                                      send(owners.ownerOf(placeOf(lattice, home)), v);
                                  });
        });
    const std::vector<NamedAtNode> sorted = sortedByNode(told);
    const auto decided =
        exchangeRecords<JoinedVertex>(ranks,
                                      [&](const auto& send)
                                      {
                                          forEachJoined(sorted,
                                                        [&](const VertexName& vertex, const VertexName& to) {
                                                            send(vertex.owner, {vertex.number, to});
                                                        });
                                      });
    std::vector<JoinedVertex> joined(decided.records.begin(), decided.records.end());
    std::sort(joined.begin(), joined.end(),
              [](const JoinedVertex& a, const JoinedVertex& b) { return a.vertex < b.vertex; });
    return joined;
}

}  // namespace tavrix::detail
