#include <tavrix/mesh/detail/Sheets.h>

#include <tavrix/mesh/detail/AroundAxis.h>

namespace tavrix::detail
{

Sheets::Sheets(const Array<Vector3D>& positions, const FaceRegion& region, bool dropsBackToBack,
               Polling& polling)
    : _positions(positions),
      _region(region),
      _faces(region.faces),
      _polling(polling),
      _edges(_faces, region.vertexNumbers.size(), polling),
      _neighbours(facedgeNeighbours(_edges, _faces.size(), polling)),
      _isDropped(_faces.size(), uint8{0}),
      _fans(0),
      _vertexOfFan(3 * _faces.size(), noIndex)
{
    const std::vector<uint32> crowded = usesOfCrowdedEdges();
    dropCollapsedFaces();
    if (dropsBackToBack) dropOppositeFaces(crowded);
    pairAroundEdges(crowded);
    untangle();
    numberFans();
}

/// Half-edges of edges of more than two faces, by edge, then ascending.
std::vector<uint32> Sheets::usesOfCrowdedEdges() const
{
    Array<uint32> counts(_edges.edgeCount, 0u);
    for (const uint32 h : halfEdges())
        if (_edges.edgeOfHalfEdge[h] != noIndex) ++counts[_edges.edgeOfHalfEdge[h]];
    std::vector<uint32> uses;
    for (const uint32 h : halfEdges())
        if (_edges.edgeOfHalfEdge[h] != noIndex && counts[_edges.edgeOfHalfEdge[h]] > 2) uses.push_back(h);
    std::stable_sort(uses.begin(), uses.end(),
                     [&](uint32 g, uint32 h) { return _edges.edgeOfHalfEdge[g] < _edges.edgeOfHalfEdge[h]; });
    return uses;
}

/// Calls visit(run) for the uses of each edge.
template <class Visit>
void Sheets::forEachEdge(const std::vector<uint32>& uses, Visit visit) const
{
    const auto edgeOf = [&](std::size_t n) { return _edges.edgeOfHalfEdge[uses[n]]; };
    for (std::size_t begin = 0, end; begin < uses.size(); begin = end)
    {
        for (end = begin + 1; end < uses.size() && edgeOf(end) == edgeOf(begin);) ++end;
        visit(std::span(uses).subspan(begin, end - begin));
    }
}

void Sheets::dropCollapsedFaces()
{
    for (const uint32 f : PolledNumbers(_faces.size(), lightItems, _polling))
        if (_edges.edgeOfHalfEdge[uint64{3} * f] == noIndex) _isDropped[f] = 1;
}

/// Drops faces back to back: on each of their edges the two run in opposite directions beside one
/// another.
void Sheets::dropOppositeFaces(const std::vector<uint32>& crowded)
{
    for (const uint32 h : halfEdges())
    {
        const IndexFacedge other = _neighbours[h / 3][h % 3];
        if (other.isNone()) continue;
        const uint32 g = 3 * other.face() + other.edge();
        if (thirdCorner(g) == thirdCorner(h) && runsUp(g) != runsUp(h))
            _isDropped[h / 3] = _isDropped[g / 3] = 1;
    }
    forEachEdge(crowded, [&](std::span<const uint32> uses) { dropOppositeFacesAt(uses); });
}

void Sheets::dropOppositeFacesAt(std::span<const uint32> uses)
{
    std::vector<uint32> byCorner;
    for (const uint32 h : uses)
        if (!isDropped(h / 3)) byCorner.push_back(h);
    std::stable_sort(byCorner.begin(), byCorner.end(),
                     [&](uint32 g, uint32 h) { return thirdCorner(g) < thirdCorner(h); });
    std::vector<uint32> alone;  // over the same corners, all in one direction
    for (const uint32 h : byCorner)
    {
        if (!alone.empty() && thirdCorner(alone.back()) != thirdCorner(h)) alone.clear();
        if (alone.empty() || runsUp(alone.back()) == runsUp(h))
            alone.push_back(h);
        else
        {
            _isDropped[h / 3] = _isDropped[alone.back() / 3] = 1;
            alone.pop_back();
        }
    }
}

void Sheets::pairAroundEdges(const std::vector<uint32>& crowded)
{
    forEachEdge(crowded,
                [&](std::span<const uint32> uses)
                {
                    std::vector<uint32> left;
                    for (const uint32 h : uses)
                        if (!isDropped(h / 3)) left.push_back(h);
                    if (left.size() == 2) link(left[0], left[1]);
                    if (left.size() > 2) pairAround(left);
                });
}

void Sheets::pairAround(const std::vector<uint32>& uses)
{
    const uint32 a = vertexAt(_faces, uses[0]), b = vertexAt(_faces, nextCorner(uses[0]));
    CrowdedEdge edge{std::min(a, b), std::max(a, b),
                     strandsOf(sortedAround(uses, std::min(a, b), std::max(a, b)))};
    for (const Strand& strand : edge.strands)
        if (strand.isPair()) link(strand.up, strand.down);
    if (_region.isWhole[a] | _region.isWhole[b]) ++_crowdedCount;
    _crowded.push_back(std::move(edge));
}

/// The half-edges by the angles of their faces. Where these are the same, solids end before others begin.
std::vector<uint32> Sheets::sortedAround(const std::vector<uint32>& uses, uint32 low, uint32 high) const
{
    struct Turned
    {
        double turn;
        bool beginsSolid;
        uint32 halfEdge;
    };
    const AroundAxis around(positionOf(low), positionOf(high), positionOf(thirdCorner(uses[0])));
    std::vector<Turned> turned;
    turned.reserve(uses.size());
    for (const uint32 h : uses) turned.push_back({around.turnTo(positionOf(thirdCorner(h))), !runsUp(h), h});
    std::stable_sort(turned.begin(), turned.end(),
                     [](const Turned& p, const Turned& q)
                     { return p.turn < q.turn || (p.turn == q.turn && p.beginsSolid < q.beginsSolid); });
    std::vector<uint32> sorted;
    sorted.reserve(turned.size());
    for (const Turned& t : turned) sorted.push_back(t.halfEdge);
    return sorted;
}

/// Going around, a half-edge downwards begins solid and the next one upwards ends it; within, others may
/// begin and end.
std::vector<Strand> Sheets::strandsOf(const std::vector<uint32>& sorted) const
{
    std::vector<Strand> strands;
    std::vector<uint32> begun, waiting;
    for (const uint32 h : sorted)
        if (!runsUp(h))
            begun.push_back(h);
        else if (begun.empty())
            waiting.push_back(h);
        else
        {
            strands.push_back({h, begun.back()});
            begun.pop_back();
        }
    for (const uint32 h : waiting)  // the turn's beginning once more
    {
        strands.push_back({h, begun.empty() ? noIndex : begun.back()});
        if (!begun.empty()) begun.pop_back();
    }
    for (const uint32 h : begun) strands.push_back({noIndex, h});
    return strands;
}

void Sheets::link(uint32 g, uint32 h)
{
    _neighbours[g / 3][g % 3] = facedgeOfHalfEdge(h);
    _neighbours[h / 3][h % 3] = facedgeOfHalfEdge(g);
}

void Sheets::unlink(const Strand& strand)
{
    for (const uint32 h : {strand.up, strand.down})
        if (h != noIndex) _neighbours[h / 3][h % 3] = IndexFacedge::none();
}

/// Two strands of an edge that lie in one fan at its low end and in one at its high end would share the
/// edge still. Such strands are paired anew, each with the one that the fan at the low end leads to,
/// which splits it; fans at the high end are at most split as well. That helps other edges too, so an end
/// waits for the next round when one of its edges was changed. One turn is enough for an edge; where
/// faces wind differently it may be in vain.
void Sheets::untangle()
{
    constexpr uint32 mostRounds = 256;
    _fans = CornerFans(_faces, _neighbours, _polling);
    for (uint32 round = 0; round < mostRounds && !_polling.isStopped(); ++round)
    {
        std::vector<std::vector<Strand>> tangles;
        std::vector<uint8> isTouched(_region.vertexNumbers.size());
        for (CrowdedEdge& edge : _crowded)
        {
            if (edge.isUntangled || isTouched[edge.low] || isTouched[edge.high]) continue;
            const auto found = tanglesOf(edge);
            if (found.empty()) continue;
            edge.isUntangled = true;
            isTouched[edge.low] = isTouched[edge.high] = 1;
            tangles.insert(tangles.end(), found.begin(), found.end());
        }
        if (tangles.empty()) return;
        pairAnew(tangles);
    }
}

/// The fans of a strand at the two ends of its edge.
std::pair<uint32, uint32> Sheets::fansOf(const Strand& strand)
{
    const bool hasUp = strand.up != noIndex;
    return {_fans.fanOf(hasUp ? strand.up : nextCorner(strand.down)),
            _fans.fanOf(hasUp ? nextCorner(strand.up) : strand.down)};
}

/// The groups of strands that lie in the same two fans.
std::vector<std::vector<Strand>> Sheets::tanglesOf(const CrowdedEdge& edge)
{
    std::vector<Strand> strands = edge.strands;
    std::stable_sort(strands.begin(), strands.end(),
                     [&](const Strand& s, const Strand& t) { return fansOf(s) < fansOf(t); });
    std::vector<std::vector<Strand>> tangles;
    for (std::size_t begin = 0, end; begin < strands.size(); begin = end)
    {
        for (end = begin + 1; end < strands.size() && fansOf(strands[end]) == fansOf(strands[begin]);) ++end;
        if (end - begin > 1) tangles.emplace_back(strands.data() + begin, strands.data() + end);
    }
    return tangles;
}

void Sheets::pairAnew(const std::vector<std::vector<Strand>>& tangles)
{
    for (const auto& tangle : tangles)
        for (const Strand& strand : tangle) unlink(strand);
    _fans = CornerFans(_faces, _neighbours, _polling);
    for (const auto& tangle : tangles) pairByFans(tangle);
    _fans = CornerFans(_faces, _neighbours, _polling);
}

/// Links the half-edges of strands that are in one fan at the low end now, and then the rest.
void Sheets::pairByFans(const std::vector<Strand>& tangle)
{
    using Half = std::pair<uint32, uint32>;  // fan, half-edge
    std::vector<Half> ups, downs;
    for (const Strand& strand : tangle)
    {
        if (strand.up != noIndex) ups.emplace_back(_fans.fanOf(strand.up), strand.up);
        if (strand.down != noIndex) downs.emplace_back(_fans.fanOf(nextCorner(strand.down)), strand.down);
    }
    std::sort(ups.begin(), ups.end());
    std::sort(downs.begin(), downs.end());
    std::vector<uint32> lonelyUps, lonelyDowns;
    for (std::size_t u = 0, d = 0; u < ups.size() || d < downs.size();)
        if (d == downs.size() || (u < ups.size() && ups[u].first < downs[d].first))
            lonelyUps.push_back(ups[u++].second);
        else if (u == ups.size() || downs[d].first < ups[u].first)
            lonelyDowns.push_back(downs[d++].second);
        else
            link(ups[u++].second, downs[d++].second);
    for (std::size_t n = 0; n < std::min(lonelyUps.size(), lonelyDowns.size()); ++n)
        link(lonelyUps[n], lonelyDowns[n]);
}

/// The first fan of a vertex keeps it, each other one of a whole vertex gets a new one.
void Sheets::numberFans()
{
    const uint32 vertexCount = _region.vertexNumbers.size();
    Array<uint8> isTaken(vertexCount, uint8{0});
    for (const uint32 h : halfEdges())
    {
        uint32& vertex = _vertexOfFan[_fans.fanOf(h)];
        if (vertex != noIndex || isDropped(h / 3)) continue;
        vertex = vertexAt(_faces, h);
        if (!_region.isWhole[vertex]) continue;
        if (std::exchange(isTaken[vertex], uint8{1}) == 0) continue;
        _added.push_back(vertex);
        vertex = vertexCount + _added.size() - 1;
    }
}

}  // namespace tavrix::detail
