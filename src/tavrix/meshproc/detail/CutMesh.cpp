#include <tavrix/meshproc/detail/CutMesh.h>

#include <tavrix/foundation/detail/SortOnce.h>

#include <algorithm>
#include <cmath>
#include <tuple>
#include <utility>

namespace tavrix::detail
{

namespace
{

/// Which part of the way from a to b the value is; halves, whose difference does not overflow.
double partOfWay(double value, double a, double b)
{
    const double t = (value / 2 - a / 2) / (b / 2 - a / 2);
    return t >= 0 && t <= 1 ? t : 0.5;
}

/// Between a and b whatever is rounded, and where they are equal that value.
double between(double a, double b, double t)
{
    return std::clamp(a * (1 - t) + b * t, std::min(a, b), std::max(a, b));
}

bool isCut(const std::array<int, 3>& sides)
{
    const auto [least, most] = std::minmax({sides[0], sides[1], sides[2]});
    return least < 0 && most > 0;
}

}  // namespace

bool CutMesh::cut(uint32 sideNumber, const BoxSide& side, Polling& polling)
{
    _side = &side;
    _seams.clear();
    if (!findCrossings(polling)) return false;
    makeVertices();
    makeNormals();
    if (!cutFaces(polling)) return false;
    for (Rim& rim : _rims)
        if (!rim.side.empty() && rim.side[0].axis != side.axis) cutRim(rim);
    if (_isSolid) makeRim(_rims[sideNumber]);
    return polling.goOn();
}

CutMesh::Crossing CutMesh::crossingOf(uint32 a, uint32 b, uint32 normalA, uint32 normalB)
{
    return a < b ? Crossing{a, b, normalA, normalB} : Crossing{b, a, normalB, normalA};
}

std::array<int, 3> CutMesh::sidesOf(const CutFace& face) const
{
    return {sideOf(face.corners.a), sideOf(face.corners.b), sideOf(face.corners.c)};
}

bool CutMesh::findCrossings(Polling& polling)
{
    _crossings.clear();
    const auto find = [&](uint64 begin, uint64 end)
    {
        for (uint64 f = begin; f < end; ++f)
        {
            const CutFace& face = _faces[f];
            const std::array<int, 3> sides = sidesOf(face);
            if (!isCut(sides)) continue;
            for (uint32 c = 0; c < 3; ++c)
            {
                const uint32 d = (c + 1) % 3;
                if (sides[c] * sides[d] < 0)
                    _crossings.push_back(
                        crossingOf(face.corners[c], face.corners[d], face.normals[c], face.normals[d]));
            }
        }
    };
    if (!inPieces(polling, _faces.size(), lightItems, find)) return false;
    for (const Rim& rim : _rims)
        for (const RimEdge& edge : rim.edges)
            if (sideOf(edge.from) * sideOf(edge.to) < 0)
                _crossings.push_back(crossingOf(edge.from, edge.to, noIndex, noIndex));
    sortOnce(_crossings);
    return polling.goOn();
}

void CutMesh::makeVertices()
{
    _firstVertex = _positions.size() + _made.size();
    _crossedEdges.clear();
    for (const Crossing& crossing : _crossings)
    {
        const std::array edge{crossing.low, crossing.high};
        if (!_crossedEdges.empty() && _crossedEdges.back() == edge) continue;
        _crossedEdges.push_back(edge);
        const Vector3D a = placeOf(edge[0]), b = placeOf(edge[1]);
        const double t = partOfWay(_side->value, a[_side->axis], b[_side->axis]);
        Vector3D place{between(a.x, b.x, t), between(a.y, b.y, t), between(a.z, b.z, t)};
        place[_side->axis] = _side->value;
        _made.push_back({edge[0], edge[1], t, place});
    }
}

Vector3F CutMesh::normalOf(uint32 number) const
{
    return number < _normals.size() ? _normals[number] : _madeNormals[number - _normals.size()];
}

/// A corner between others that share one normal has that normal, too.
void CutMesh::makeNormals()
{
    _firstNormal = _normals.size() + _madeNormals.size();
    _crossedNormals.clear();
    for (const Crossing& crossing : _crossings)
    {
        if (crossing.lowNormal == crossing.highNormal) continue;
        _crossedNormals.push_back(crossing);
        const Vector3F a = normalOf(crossing.lowNormal), b = normalOf(crossing.highNormal);
        const auto t = static_cast<float>(_made[vertexAt(crossing.low, crossing.high) - _positions.size()].t);
        const Vector3F normal = unitOrZero(a * (1 - t) + b * t);
        _madeNormals.push_back(normal == Vector3F{0, 0, 0} ? (t > 0.5F ? b : a) : normal);
    }
}

uint32 CutMesh::vertexAt(uint32 a, uint32 b) const
{
    const std::array edge{std::min(a, b), std::max(a, b)};
    const auto found = std::lower_bound(_crossedEdges.begin(), _crossedEdges.end(), edge);
    return _firstVertex + static_cast<uint32>(found - _crossedEdges.begin());
}

uint32 CutMesh::normalAt(const Crossing& crossing) const
{
    if (crossing.lowNormal == crossing.highNormal) return crossing.lowNormal;
    const auto found = std::lower_bound(_crossedNormals.begin(), _crossedNormals.end(), crossing);
    return _firstNormal + static_cast<uint32>(found - _crossedNormals.begin());
}

bool CutMesh::cutFaces(Polling& polling)
{
    std::vector<CutFace> pieces;
    uint32 kept = 0;
    const auto work = [&](uint64 begin, uint64 end)
    {
        for (uint64 f = begin; f < end; ++f)
        {
            const CutFace face = _faces[f];
            const std::array<int, 3> sides = sidesOf(face);
            if (isCut(sides))
            {
                cutFace(face, sides, pieces);
                continue;
            }
            const auto [least, most] = std::minmax({sides[0], sides[1], sides[2]});
            const bool stays = least == 0 && most == 0 ? staysOnSide(face) : least >= 0;
            if (_isSolid && least <= 0 && most >= 0) addSeams(face, sides, !stays);
            if (stays) _faces[kept++] = face;
        }
    };
    if (!inPieces(polling, _faces.size(), lightItems, work)) return false;
    _faces.resize(kept);
    for (const CutFace& piece : pieces) _faces.push_back(piece);
    return true;
}

/// Leaves a triangle, or a quadrangle, which is cut along its shorter diagonal.
void CutMesh::cutFace(const CutFace& face, const std::array<int, 3>& sides, std::vector<CutFace>& pieces)
{
    ++_facesCut;
    struct Corner
    {
        uint32 vertex, normal;
        bool isOnSide;
    };
    std::array<Corner, 4> corners{};
    uint32 count = 0;
    for (uint32 c = 0; c < 3; ++c)
    {
        const uint32 d = (c + 1) % 3;
        if (sides[c] >= 0) corners[count++] = {face.corners[c], face.normals[c], sides[c] == 0};
        if (sides[c] * sides[d] >= 0) continue;
        corners[count++] = {
            vertexAt(face.corners[c], face.corners[d]),
            normalAt(crossingOf(face.corners[c], face.corners[d], face.normals[c], face.normals[d])), true};
    }
    const auto add = [&](uint32 a, uint32 b, uint32 c)
    {
        pieces.push_back({{corners[a].vertex, corners[b].vertex, corners[c].vertex},
                          {corners[a].normal, corners[b].normal, corners[c].normal},
                          face.source});
    };
    if (count == 3)
        add(0, 1, 2);
    else
    {
        const auto distance = [&](uint32 a, uint32 b)
        { return length(placeOf(corners[a].vertex) - placeOf(corners[b].vertex)); };
        const bool isFirst = distance(0, 2) <= distance(1, 3);
        isFirst ? add(0, 1, 2) : add(0, 1, 3);
        isFirst ? add(0, 2, 3) : add(1, 2, 3);
    }
    if (!_isSolid) return;
    for (uint32 c = 0; c < count; ++c)
    {
        const Corner &from = corners[c], &to = corners[(c + 1) % count];
        if (!from.isOnSide || !to.isOnSide) continue;
        addSeam(from.vertex, to.vertex, false, face.source);
        addSeam(to.vertex, from.vertex, true, face.source);
    }
}

/// Of a face that lies on the side: of solids those that look outwards bound what is within.
bool CutMesh::staysOnSide(const CutFace& face) const
{
    if (!_isSolid) return true;
    const Vector3D &a = placeOf(face.corners.a), &b = placeOf(face.corners.b), &c = placeOf(face.corners.c);
    const uint32 u = _side->u(), v = _side->v();
    return (b[u] / 2 - a[u] / 2) * (c[v] / 2 - a[v] / 2) > (b[v] / 2 - a[v] / 2) * (c[u] / 2 - a[u] / 2);
}

void CutMesh::addSeams(const CutFace& face, const std::array<int, 3>& sides, bool isDropped)
{
    for (uint32 c = 0; c < 3; ++c)
    {
        const uint32 d = (c + 1) % 3;
        if (sides[c] == 0 && sides[d] == 0) addSeam(face.corners[c], face.corners[d], isDropped, face.source);
    }
}

void CutMesh::addSeam(uint32 from, uint32 to, bool isDropped, uint32 source)
{
    _seams.push_back({std::min(from, to), std::max(from, to), isDropped, source, from < to ? 1 : -1});
}

/// Cuts what is to close an earlier rim.
void CutMesh::cutRim(Rim& rim)
{
    std::vector<RimEdge> kept;
    for (const RimEdge& edge : rim.edges)
    {
        const int from = sideOf(edge.from), to = sideOf(edge.to);
        if (from == 0 && to == 0)
        {
            const bool stays = staysOnLine(edge, rim.side[0]);
            addSeam(edge.from, edge.to, !stays, edge.source);
            if (stays) kept.push_back(edge);
        }
        else if (from >= 0 && to >= 0)
            kept.push_back(edge);
        else if (from > 0)
            kept.push_back({edge.from, vertexAt(edge.from, edge.to), edge.source});
        else if (to > 0)
            kept.push_back({vertexAt(edge.from, edge.to), edge.to, edge.source});
    }
    rim.edges.swap(kept);
    closeRim(rim);
}

/// Whether the area on the left of an edge where two sides meet lies within.
bool CutMesh::staysOnLine(const RimEdge& edge, const BoxSide& side) const
{
    const Vector3D &from = placeOf(edge.from), &to = placeOf(edge.to);
    const uint32 along = 3 - side.axis - _side->axis;
    const bool pointsUp = to[along] > from[along];
    if (to[along] == from[along]) return false;
    // a quarter turn to the left leads from u to v, and from v to -u
    const bool leadsUp = side.u() == along ? pointsUp : !pointsUp;
    return leadsUp != _side->isUpper;
}

/// Adds edges along the line where two sides meet, from where the rim leaves the box to where it enters it
/// again, which are edges of the new rim, too.
void CutMesh::closeRim(Rim& rim)
{
    struct End
    {
        uint32 vertex;
        int32 leaving;  ///< edges that start here, less those that end
        uint32 source;
    };
    std::vector<End> ends;
    for (const RimEdge& edge : rim.edges)
    {
        if (sideOf(edge.from) == 0) ends.push_back({edge.from, 1, edge.source});
        if (sideOf(edge.to) == 0) ends.push_back({edge.to, -1, edge.source});
    }
    const uint32 along = 3 - rim.side[0].axis - _side->axis;
    std::sort(ends.begin(), ends.end(),
              [&](const End& a, const End& b)
              {
                  const auto key = [&](const End& end)
                  { return std::tuple(placeOf(end.vertex)[along], end.vertex, end.source, end.leaving); };
                  return key(a) < key(b);
              });
    int64 open = 0;
    const End* last = nullptr;
    for (std::size_t begin = 0, end; begin < ends.size(); begin = end)
    {
        int64 leaving = 0;
        for (end = begin; end < ends.size() && ends[end].vertex == ends[begin].vertex; ++end)
            leaving += ends[end].leaving;
        if (leaving == 0) continue;
        const End& here = ends[begin];
        for (int64 n = 0; last && n < std::abs(open); ++n)
        {
            const uint32 from = open > 0 ? here.vertex : last->vertex,
                         to = open > 0 ? last->vertex : here.vertex;
            rim.edges.push_back({from, to, here.source});
            addSeam(from, to, false, here.source);
            addSeam(to, from, true, here.source);
        }
        open += leaving;
        last = &here;
    }
}

/// Makes the rim of this side of the edges at which what is kept was parted from what was dropped.
void CutMesh::makeRim(Rim& rim)
{
    std::sort(_seams.begin(), _seams.end());
    for (std::size_t begin = 0, end; begin < _seams.size(); begin = end)
    {
        const SeamEdge& seam = _seams[begin];
        int64 kept = 0, dropped = 0;
        for (end = begin; end < _seams.size(); ++end)
        {
            const SeamEdge& other = _seams[end];
            if (other.low != seam.low || other.high != seam.high) break;
            (other.isDropped ? dropped : kept) += other.direction;
        }
        if ((kept < 0) == (dropped < 0)) continue;
        for (int64 n = std::min(std::abs(kept), std::abs(dropped)); n > 0; --n)
            rim.edges.push_back(
                {kept > 0 ? seam.high : seam.low, kept > 0 ? seam.low : seam.high, seam.source});
    }
    rim.side.push_back(*_side);
    _openChains += dropOpenChains(rim.edges, linkRim(rim.edges, rimPoints(rim.edges, *_side)));
}

RimPoints CutMesh::rimPoints(const std::vector<RimEdge>& rim, const BoxSide& side) const
{
    double largest = 0;
    for (const RimEdge& edge : rim)
        for (const uint32 vertex : {edge.from, edge.to})
        {
            const Vector2D p = side.project(placeOf(vertex));
            largest = std::max({largest, std::abs(p.x), std::abs(p.y)});
        }
    int exponent = 0;
    std::frexp(largest, &exponent);
    const double scale = std::ldexp(1.0, -std::clamp(exponent, -1000, 1000));
    RimPoints points;
    for (const RimEdge& edge : rim)
    {
        points.starts.push_back(side.project(placeOf(edge.from)) * scale);
        points.ends.push_back(side.project(placeOf(edge.to)) * scale);
    }
    return points;
}

}  // namespace tavrix::detail
