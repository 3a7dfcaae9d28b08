#include <tavrix/mesh/SheetSeparation.h>

#include <algorithm>
#include <cmath>
#include <numeric>
#include <utility>
#include <vector>

#include <tavrix/foundation/ParallelFor.h>
#include <tavrix/mesh/detail/CarriedArrays.h>
#include <tavrix/mesh/detail/CornerFans.h>
#include <tavrix/mesh/detail/EdgeTable.h>
#include <tavrix/mesh/detail/FaceDropping.h>

namespace tavrix
{

namespace
{

using detail::nextCorner;
using detail::vertexAt;

// The part of a mesh that is looked at

/// Some faces of a mesh, in their order, and the vertices that they name, numbered anew in theirs.
struct Region
{
    Array<Index3> faces;
    Array<uint32> faceNumbers, vertexNumbers;  ///< in the mesh, ascending
    Array<uint8> isWhole;                      ///< a vertex of which all faces are here
};

Array<uint32> numbersUpTo(uint32 count)
{
    Array<uint32> numbers(count);
    std::iota(numbers.begin(), numbers.end(), 0u);
    return numbers;
}

Region wholeMesh(const Mesh& mesh)
{
    return {mesh.trindexPos(), numbersUpTo(mesh.getFacesSize()), numbersUpTo(mesh.getPosSize()),
            Array<uint8>(mesh.getPosSize(), uint8{1})};
}

/// The numbers of the faces with a corner that is marked, ascending.
Array<uint32> facesAtMarked(const Array<Index3>& faces, const Array<uint8>& isMarked, uint32 threadCount)
{
    const uint32 workers = std::clamp(threadCount, 1u, faces.size() / 4096 + 1);
    std::vector<Array<uint32>> found(workers);
    parallelFor(workers, workers,
                [&](uint32, uint64 w, uint64)
                {
                    const auto end = static_cast<uint32>(uint64{faces.size()} * (w + 1) / workers);
                    for (auto f = static_cast<uint32>(uint64{faces.size()} * w / workers); f < end; ++f)
                        if (isMarked[faces[f].a] | isMarked[faces[f].b] | isMarked[faces[f].c])
                            found[w].push_back(f);
                });
    Array<uint32> all;
    for (const Array<uint32>& list : found)
        for (const uint32 f : list) all.push_back(f);
    return all;
}

/// All faces at the vertices.
Region regionAround(const Mesh& mesh, std::span<const uint32> vertices, uint32 threadCount)
{
    const Array<Index3>& faces = mesh.trindexPos();
    Array<uint8> isMarked(mesh.getPosSize(), uint8{0});
    for (const uint32 v : vertices) isMarked[v] = 1;
    Region region;
    region.faceNumbers = facesAtMarked(faces, isMarked, threadCount);

    std::vector<uint32> corners;
    for (const uint32 f : region.faceNumbers)
        corners.insert(corners.end(), {faces[f].a, faces[f].b, faces[f].c});
    std::sort(corners.begin(), corners.end());
    corners.erase(std::unique(corners.begin(), corners.end()), corners.end());
    for (const uint32 v : corners)
    {
        region.vertexNumbers.push_back(v);
        region.isWhole.push_back(isMarked[v]);
    }
    const auto numberOf = [&](uint32 v)
    { return static_cast<uint32>(std::lower_bound(corners.begin(), corners.end(), v) - corners.begin()); };
    for (const uint32 f : region.faceNumbers)
        region.faces.push_back({numberOf(faces[f].a), numberOf(faces[f].b), numberOf(faces[f].c)});
    return region;
}

// The order of faces around an edge

/// A number that grows with the angle of (x, y), from 0 to 4 for the whole turn.
double turnOf(double x, double y)
{
    const double sum = std::fabs(x) + std::fabs(y);
    if (!(sum > 0) || !std::isfinite(sum)) return 0;
    const double part = y / sum;
    return x < 0 ? 2 - part : part < 0 ? 4 + part : part;
}

/// Measures angles around an axis, counter-clockwise when it points towards the viewer.
class AroundAxis
{
public:
    AroundAxis(const Vector3D& from, const Vector3D& to, const Vector3D& first)
        : _from(from), _axis(to - from), _length(length(_axis)), _x(across(first)), _y(cross(_axis, _x))
    {
    }

    /// From the first point's direction, where it is 0, as turnOf; 0 for a point on the axis.
    double turnTo(const Vector3D& point) const
    {
        const Vector3D d = across(point);
        return turnOf(dot(_x, d) * _length, dot(_y, d));
    }

private:
    /// What lies across the axis of the way to a point, times a constant.
    Vector3D across(const Vector3D& point) const
    {
        const Vector3D d = point - _from;
        return d * dot(_axis, _axis) - _axis * dot(_axis, d);
    }

    Vector3D _from, _axis;
    double _length;
    Vector3D _x, _y;
};

// The sheets

/// What of a sheet runs through an edge: the half-edges of one face or two, in opposite directions.
struct Strand
{
    uint32 up = noIndex, down = noIndex;  ///< from the edge's lower vertex to the higher, and back

    bool isPair() const { return up != noIndex && down != noIndex; }
};

/// An edge of more than two faces.
struct CrowdedEdge
{
    uint32 low, high;
    std::vector<Strand> strands;
    bool isUntangled = false;
};

/// Finds the sheets of a region: drops faces, pairs the others around crowded edges, and tells fans apart.
class Sheets
{
public:
    Sheets(const Array<Vector3D>& positions, const Region& region, BackToBack backToBack = BackToBack::Drop)
        : _positions(positions),
          _region(region),
          _faces(region.faces),
          _edges(_faces, region.vertexNumbers.size()),
          _neighbours(facedgeNeighbours(_edges, _faces.size())),
          _isDropped(_faces.size(), uint8{0}),
          _fans(0),
          _vertexOfFan(3 * _faces.size(), noIndex)
    {
        const std::vector<uint32> crowded = usesOfCrowdedEdges();
        dropCollapsedFaces();
        if (backToBack == BackToBack::Drop) dropOppositeFaces(crowded);
        pairAroundEdges(crowded);
        untangle();
        numberFans();
    }

    bool isDropped(uint32 face) const { return _isDropped[face] != 0; }
    /// Edges of more than two faces at a whole vertex, with what was dropped away.
    uint32 crowdedEdges() const { return _crowdedCount; }
    /// Whether there is nothing to be done.
    bool areApart() const
    {
        return _crowdedCount == 0 && _added.empty() &&
               std::find(_isDropped.begin(), _isDropped.end(), uint8{1}) == _isDropped.end();
    }
    /// The vertex that a corner gets: its own, or for values from the region's vertices on an added one.
    uint32 vertexOf(uint32 corner) { return _vertexOfFan[_fans.fanOf(corner)]; }
    /// The region's vertices of which those that are added are copies.
    const Array<uint32>& added() const { return _added; }

private:
    uint32 thirdCorner(uint32 h) const { return vertexAt(_faces, nextCorner(nextCorner(h))); }
    bool runsUp(uint32 h) const { return vertexAt(_faces, h) < vertexAt(_faces, nextCorner(h)); }
    const Vector3D& positionOf(uint32 vertex) const { return _positions[_region.vertexNumbers[vertex]]; }

    /// Half-edges of edges of more than two faces, by edge, then ascending.
    std::vector<uint32> usesOfCrowdedEdges() const
    {
        const Array<uint32> counts = _edges.useCounts();
        std::vector<uint32> uses;
        for (uint32 h = 0; h < _edges.edgeOfHalfEdge.size(); ++h)
            if (_edges.edgeOfHalfEdge[h] != noIndex && counts[_edges.edgeOfHalfEdge[h]] > 2)
                uses.push_back(h);
        std::stable_sort(uses.begin(), uses.end(),
                         [&](uint32 g, uint32 h)
                         { return _edges.edgeOfHalfEdge[g] < _edges.edgeOfHalfEdge[h]; });
        return uses;
    }

    /// Calls visit(run) for the uses of each edge.
    template <class Visit>
    void forEachEdge(const std::vector<uint32>& uses, Visit visit) const
    {
        const auto edgeOf = [&](std::size_t n) { return _edges.edgeOfHalfEdge[uses[n]]; };
        for (std::size_t begin = 0, end; begin < uses.size(); begin = end)
        {
            for (end = begin + 1; end < uses.size() && edgeOf(end) == edgeOf(begin);) ++end;
            visit(std::span(uses).subspan(begin, end - begin));
        }
    }

    void dropCollapsedFaces()
    {
        for (uint32 f = 0; f < _faces.size(); ++f)
            if (_edges.edgeOfHalfEdge[uint64{3} * f] == noIndex) _isDropped[f] = 1;
    }

    /// Drops faces back to back: on each of their edges the two run in opposite directions beside one
    /// another.
    void dropOppositeFaces(const std::vector<uint32>& crowded)
    {
        for (uint32 h = 0; h < 3 * _faces.size(); ++h)
        {
            const IndexFacedge other = _neighbours[h / 3][h % 3];
            if (other.isNone()) continue;
            const uint32 g = 3 * other.face() + other.edge();
            if (thirdCorner(g) == thirdCorner(h) && runsUp(g) != runsUp(h))
                _isDropped[h / 3] = _isDropped[g / 3] = 1;
        }
        forEachEdge(crowded, [&](std::span<const uint32> uses) { dropOppositeFacesAt(uses); });
    }

    void dropOppositeFacesAt(std::span<const uint32> uses)
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

    void pairAroundEdges(const std::vector<uint32>& crowded)
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

    void pairAround(const std::vector<uint32>& uses)
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
    std::vector<uint32> sortedAround(const std::vector<uint32>& uses, uint32 low, uint32 high) const
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
        for (const uint32 h : uses)
            turned.push_back({around.turnTo(positionOf(thirdCorner(h))), !runsUp(h), h});
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
    std::vector<Strand> strandsOf(const std::vector<uint32>& sorted) const
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

    void link(uint32 g, uint32 h)
    {
        _neighbours[g / 3][g % 3] = detail::facedgeOfHalfEdge(h);
        _neighbours[h / 3][h % 3] = detail::facedgeOfHalfEdge(g);
    }

    void unlink(const Strand& strand)
    {
        for (const uint32 h : {strand.up, strand.down})
            if (h != noIndex) _neighbours[h / 3][h % 3] = IndexFacedge::none();
    }

    /// Two strands of an edge that lie in one fan at its low end and in one at its high end would share the
    /// edge still. Such strands are paired anew, each with the one that the fan at the low end leads to,
    /// which splits it; fans at the high end are at most split as well. That helps other edges too, so an end
    /// waits for the next round when one of its edges was changed. One turn is enough for an edge; where
    /// faces wind differently it may be in vain.
    void untangle()
    {
        constexpr uint32 mostRounds = 256;
        _fans = detail::CornerFans(_faces, _neighbours);
        for (uint32 round = 0; round < mostRounds; ++round)
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
    std::pair<uint32, uint32> fansOf(const Strand& strand)
    {
        const bool hasUp = strand.up != noIndex;
        return {_fans.fanOf(hasUp ? strand.up : nextCorner(strand.down)),
                _fans.fanOf(hasUp ? nextCorner(strand.up) : strand.down)};
    }

    /// The groups of strands that lie in the same two fans.
    std::vector<std::vector<Strand>> tanglesOf(const CrowdedEdge& edge)
    {
        std::vector<Strand> strands = edge.strands;
        std::stable_sort(strands.begin(), strands.end(),
                         [&](const Strand& s, const Strand& t) { return fansOf(s) < fansOf(t); });
        std::vector<std::vector<Strand>> tangles;
        for (std::size_t begin = 0, end; begin < strands.size(); begin = end)
        {
            for (end = begin + 1; end < strands.size() && fansOf(strands[end]) == fansOf(strands[begin]);)
                ++end;
            if (end - begin > 1) tangles.emplace_back(strands.begin() + begin, strands.begin() + end);
        }
        return tangles;
    }

    void pairAnew(const std::vector<std::vector<Strand>>& tangles)
    {
        for (const auto& tangle : tangles)
            for (const Strand& strand : tangle) unlink(strand);
        _fans = detail::CornerFans(_faces, _neighbours);
        for (const auto& tangle : tangles) pairByFans(tangle);
        _fans = detail::CornerFans(_faces, _neighbours);
    }

    /// Links the half-edges of strands that are in one fan at the low end now, and then the rest.
    void pairByFans(const std::vector<Strand>& tangle)
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
    void numberFans()
    {
        const uint32 vertexCount = _region.vertexNumbers.size();
        Array<uint8> isTaken(vertexCount, uint8{0});
        for (uint32 h = 0; h < 3 * _faces.size(); ++h)
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

    const Array<Vector3D>& _positions;
    const Region& _region;
    const Array<Index3>& _faces;
    detail::EdgeTable _edges;
    Array<FacedgeTriple> _neighbours;
    Array<uint8> _isDropped;
    std::vector<CrowdedEdge> _crowded;
    detail::CornerFans _fans;
    Array<uint32> _vertexOfFan;  ///< by the fan's first corner
    Array<uint32> _added;
    uint32 _crowdedCount = 0;
};

// The change of the mesh

/// A corner of a face of the mesh, and the vertex that it gets.
struct MovedCorner
{
    uint32 face, corner, vertex;
};

/// Whether the normals are numbered as the positions are, where these are to change.
bool normalsFollow(const Mesh& mesh, const std::vector<MovedCorner>& moved)
{
    return mesh.trindexNor().size() == mesh.getFacesSize() &&
           (mesh.nor().empty() || mesh.nor().size() == mesh.getPosSize()) &&
           std::all_of(moved.begin(), moved.end(),
                       [&](const MovedCorner& m) {
                           return mesh.trindexNor()[m.face][m.corner] == mesh.trindexPos()[m.face][m.corner];
                       });
}

template <class T>
void appendCopies(Array<T>& elements, const Array<uint32>& numbers)
{
    elements.reserve(elements.size() + numbers.size());
    for (const uint32 n : numbers) elements.push_back(T(elements[n]));
}

/// Adds copies of the vertices, and gives them to the corners.
void addVertices(Mesh& mesh, const Array<uint32>& copied, const std::vector<MovedCorner>& moved)
{
    const uint32 before = mesh.getPosSize();
    detail::CarriedArrays carried(mesh);
    if (carried.has(MeshArrayInf::PER_POSITION))
    {
        Array<uint32> numbers = numbersUpTo(before);
        for (const uint32 v : copied) numbers.push_back(v);
        carried.gather(MeshArrayInf::PER_POSITION, before, {numbers.data(), numbers.size()},
                       [] { return true; });
    }
    const bool withNormals = normalsFollow(mesh, moved);
    appendCopies(mesh.refPos(), copied);
    if (withNormals && !mesh.nor().empty()) appendCopies(mesh.refNor(), copied);
    for (const MovedCorner& m : moved)
    {
        mesh.refTrindexPos()[m.face][m.corner] = m.vertex;
        if (withNormals) mesh.refTrindexNor()[m.face][m.corner] = m.vertex;
    }
    carried.finish();
    mesh.invalidateConnectivity();
}

/// Gives the mesh the sheets that were found in a region of it.
SheetSeparation apply(Mesh& mesh, const Region& region, Sheets& sheets)
{
    const uint32 regionVertices = region.vertexNumbers.size();
    Array<uint32> copied;
    for (const uint32 v : sheets.added()) copied.push_back(region.vertexNumbers[v]);
    std::vector<MovedCorner> moved;
    std::vector<uint32> dropped;
    for (uint32 f = 0; f < region.faces.size(); ++f)
    {
        if (sheets.isDropped(f)) dropped.push_back(region.faceNumbers[f]);
        for (uint32 c = 0; c < 3 && !sheets.isDropped(f); ++c)
            if (const uint32 vertex = sheets.vertexOf(3 * f + c); vertex >= regionVertices)
                moved.push_back({region.faceNumbers[f], c, mesh.getPosSize() + vertex - regionVertices});
    }
    if (!copied.empty()) addVertices(mesh, copied, moved);
    detail::dropFaces(mesh, dropped);
    return {sheets.crowdedEdges(), copied.size(), static_cast<uint32>(dropped.size())};
}

}  // namespace

SheetSeparation separateSheets(Mesh& mesh, BackToBack backToBack)
{
    const Region region = wholeMesh(mesh);
    Sheets sheets(mesh.pos(), region, backToBack);
    return apply(mesh, region, sheets);
}

SheetSeparation separateSheets(Mesh& mesh, std::span<const uint32> suspects, uint32 threadCount)
{
    if (suspects.empty()) return {};
    const Region near = regionAround(mesh, suspects, threadCount);
    if (Sheets(mesh.pos(), near).areApart()) return {};
    const Region region =
        regionAround(mesh, {near.vertexNumbers.data(), near.vertexNumbers.size()}, threadCount);
    Sheets sheets(mesh.pos(), region);
    return apply(mesh, region, sheets);
}

}  // namespace tavrix
