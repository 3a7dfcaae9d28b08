#include <tavrix/meshproc/detail/HalfEdgeTwins.h>

#include <algorithm>
#include <span>
#include <tuple>
#include <utility>
#include <vector>

#include <tavrix/mesh/detail/AroundAxis.h>
#include <tavrix/mesh/detail/CornerFans.h>
#include <tavrix/mesh/detail/EdgeTable.h>

namespace tavrix::detail
{

namespace
{

/// A half-edge of a crowded edge.
struct Use
{
    uint32 edge, halfEdge;
    double turn;     ///< of its face around the edge
    bool endsSolid;  ///< going around the edge
};

class TwinPairing
{
public:
    TwinPairing(const Array<Vector3D>& positions, const Array<Index3>& faces)
        : _positions(positions), _faces(faces), _twins(3 * faces.size(), noIndex)
    {
    }

    Array<uint32> run(Polling& polling)
    {
        const EdgeTable edges(_faces, _positions.size(), polling);
        if (polling.isStopped()) return {};
        const Array<uint32> counts = edges.useCounts();
        Array<uint32> firsts(edges.edgeCount, noIndex);
        for (uint32 h = 0; h < edges.edgeOfHalfEdge.size(); ++h)
        {
            const uint32 edge = edges.edgeOfHalfEdge[h];
            if (edge == noIndex) continue;
            if (counts[edge] > 2)
                _crowded.push_back({edge, h, 0, runsUp(h)});
            else if (firsts[edge] == noIndex)
                firsts[edge] = h;
            else
                pair(firsts[edge], h);
        }
        pairCrowded();
        return std::move(_twins);
    }

private:
    void pair(uint32 g, uint32 h)
    {
        _twins[g] = h;
        _twins[h] = g;
    }

    uint32 start(uint32 h) const { return vertexAt(_faces, h); }
    uint32 end(uint32 h) const { return vertexAt(_faces, nextCorner(h)); }
    bool runsUp(uint32 h) const { return start(h) < end(h); }

    void pairCrowded()
    {
        std::stable_sort(_crowded.begin(), _crowded.end(),
                         [](const Use& a, const Use& b) { return a.edge < b.edge; });
        for (std::size_t begin = 0, next; begin < _crowded.size(); begin = next)
        {
            next = begin + 1;
            while (next < _crowded.size() && _crowded[next].edge == _crowded[begin].edge) ++next;
            pairAround(std::span(_crowded).subspan(begin, next - begin));
        }
    }

    void pairAround(std::span<Use> uses)
    {
        const auto third = [&](const Use& use) -> const Vector3D&
        { return _positions[vertexAt(_faces, nextCorner(nextCorner(use.halfEdge)))]; };
        const uint32 a = start(uses[0].halfEdge), b = end(uses[0].halfEdge);
        const AroundAxis around(_positions[std::min(a, b)], _positions[std::max(a, b)], third(uses[0]));
        for (Use& use : uses) use.turn = around.turnTo(third(use));
        // where angles are the same, solids end before others begin
        std::sort(uses.begin(), uses.end(),
                  [](const Use& p, const Use& q) {
                      return std::tuple(p.turn, !p.endsSolid, p.halfEdge) <
                             std::tuple(q.turn, !q.endsSolid, q.halfEdge);
                  });
        pairAsBrackets(uses);
    }

    /// Going around, every end goes with the last begin before it, beyond the start of the turn as well; what
    /// is left over runs one way, and neighbours are paired.
    void pairAsBrackets(std::span<const Use> uses)
    {
        std::vector<uint32> begun, ended, left;
        for (const Use& use : uses)
            if (!use.endsSolid)
                begun.push_back(use.halfEdge);
            else if (begun.empty())
                ended.push_back(use.halfEdge);
            else
            {
                pair(begun.back(), use.halfEdge);
                begun.pop_back();
            }
        for (const uint32 h : ended)
            if (begun.empty())
                left.push_back(h);
            else
            {
                pair(begun.back(), h);
                begun.pop_back();
            }
        left.insert(left.end(), begun.begin(), begun.end());
        for (std::size_t n = 1; n < left.size(); n += 2) pair(left[n - 1], left[n]);
    }

    const Array<Vector3D>& _positions;
    const Array<Index3>& _faces;
    Array<uint32> _twins;
    std::vector<Use> _crowded;
};

}  // namespace

Array<uint32> halfEdgeTwins(const Array<Vector3D>& positions, const Array<Index3>& faces, Polling& polling)
{
    return TwinPairing(positions, faces).run(polling);
}

}  // namespace tavrix::detail
