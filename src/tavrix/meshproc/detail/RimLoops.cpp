#include <tavrix/meshproc/detail/RimLoops.h>

#include <algorithm>
#include <tuple>

#include <tavrix/foundation/detail/Sorting.h>
#include <tavrix/mesh/detail/PlaneOrientation.h>

namespace tavrix::detail
{

namespace
{

/// An edge as it is seen from one of its ends.
struct Spoke
{
    uint32 vertex, edge;
    bool leaves;  ///< whether it starts at the vertex
    Vector2D hub, tip;

    auto place() const { return std::tuple(vertex, edge, leaves); }
    bool pointsUp() const { return tip.y > hub.y || (tip.y == hub.y && tip.x > hub.x); }
};

/// Counter-clockwise around the hub, from the direction of x.
bool isBefore(const Spoke& a, const Spoke& b)
{
    if (a.pointsUp() != b.pointsUp()) return a.pointsUp();
    const int side = sideOf(a.hub, a.tip, b.tip);
    return side != 0 ? side > 0 : a.leaves && !b.leaves;
}

/// Links what comes in with what leaves, as brackets are matched around the hub: a wedge that is to be closed
/// lies between an edge that leaves and the next that comes in.
void linkAround(Spoke* spokes, std::ptrdiff_t count, std::vector<uint32>& next)
{
    std::vector<Spoke> scratch(spokes, spokes + count);
    mergeSort(spokes, count, 1, scratch.data(), isBefore, anyNumber, [](std::ptrdiff_t) { return true; });
    std::vector<uint32> open;
    for (const bool isSecondRound : {false, true})
        for (std::ptrdiff_t n = 0; n < count; ++n)
        {
            const Spoke& spoke = spokes[n];
            if (spoke.leaves && !isSecondRound) open.push_back(spoke.edge);
            if (spoke.leaves || open.empty() || next[spoke.edge] != noIndex) continue;
            next[spoke.edge] = open.back();
            open.pop_back();
        }
}

}  // namespace

std::vector<uint32> linkRim(const std::vector<RimEdge>& edges, const RimPoints& points)
{
    std::vector<Spoke> spokes;
    spokes.reserve(2 * edges.size());
    for (uint32 e = 0; e < edges.size(); ++e)
    {
        spokes.push_back({edges[e].from, e, true, points.starts[e], points.ends[e]});
        spokes.push_back({edges[e].to, e, false, points.ends[e], points.starts[e]});
    }
    std::sort(spokes.begin(), spokes.end(),
              [](const Spoke& a, const Spoke& b) { return a.place() < b.place(); });
    std::vector<uint32> next(edges.size(), noIndex);
    for (std::size_t begin = 0, end; begin < spokes.size(); begin = end)
    {
        end = begin + 1;
        while (end < spokes.size() && spokes[end].vertex == spokes[begin].vertex) ++end;
        linkAround(&spokes[begin], static_cast<std::ptrdiff_t>(end - begin), next);
    }
    return next;
}

uint32 dropOpenChains(std::vector<RimEdge>& edges, const std::vector<uint32>& next)
{
    std::vector<bool> isFollowing(edges.size(), false), isOpen(edges.size(), false);
    for (const uint32 e : next)
        if (e != noIndex) isFollowing[e] = true;
    uint32 chains = 0;
    for (uint32 first = 0; first < edges.size(); ++first)
    {
        if (isFollowing[first]) continue;
        ++chains;
        for (uint32 e = first; e != noIndex; e = next[e]) isOpen[e] = true;
    }
    if (chains == 0) return 0;
    std::size_t kept = 0;
    for (std::size_t e = 0; e < edges.size(); ++e)
        if (!isOpen[e]) edges[kept++] = edges[e];
    edges.resize(kept);
    return chains;
}

}  // namespace tavrix::detail
