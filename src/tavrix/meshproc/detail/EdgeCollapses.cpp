#include <tavrix/meshproc/detail/EdgeCollapses.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <tuple>

namespace tavrix::detail
{

namespace
{
/// What borders and seams weigh beside faces of the same size.
constexpr double curveWeight = 5;
/// What the square of an edge's length weighs beside that of the distance.
constexpr double lengthWeight = 1e-6;
/// The cosine of the angle by which a face may turn.
constexpr double leastCosine = 0.7;
/// The height of faces that are no slivers, in lengths of their longest side, about.
constexpr double leastHeight = 1e-3;

bool isBounded(const CollapseGoal& goal) { return goal.error < std::numeric_limits<double>::infinity(); }

/// How wide a triangle is: its height over its longest side, about.
struct FaceShape
{
    double areaSquare;  ///< of twice the area
    double sides;       ///< the sum of the squared sides, squared

    FaceShape(const Vector3D& normal, const Vector3D& a, const Vector3D& b, const Vector3D& c)
        : areaSquare(dot(normal, normal))
    {
        const double sum = dot(b - a, b - a) + dot(c - b, c - b) + dot(a - c, a - c);
        sides = sum * sum;
    }
    bool isWiderThan(double ratio) const { return areaSquare > ratio * ratio * sides; }
    bool isAsWideAs(const FaceShape& other) const
    {
        return areaSquare * other.sides >= other.areaSquare * sides;
    }
};

}  // namespace

EdgeCollapses::EdgeCollapses(CollapseMesh& mesh, CornerItems& vertices, CornerItems& normals,
                             const CollapseGoal& goal, uint32 threadCount, Polling& polling)
    : _mesh(mesh),
      _vertices(vertices),
      _normals(normals),
      _goal(goal),
      _threadCount(threadCount),
      _polling(polling),
      _queue(mesh.pointCount()),
      _origins(mesh.pointCount()),
      _marks(mesh.pointCount(), 0)
{
    for (uint32 p = 0; p < _origins.size(); ++p) _origins[p] = p;
    if (isBounded(goal)) _faceErrors.assign(mesh.faces.size(), 0);
}

/// The planes of the faces around a point, by area, and those that stand on its borders and seams.
Quadric EdgeCollapses::quadricOf(const Star& star, uint32 point) const
{
    Quadric sum = Quadric::zero();
    const Vector3D& at = _mesh.points[point].place;
    for (const StarFace& s : star)
    {
        const Vector3D to = _mesh.points[s.next].place - at, from = _mesh.points[s.previous].place - at;
        const Vector3D across = cross(to, from);
        const double twice = length(across);
        if (!(twice > 0) || !std::isfinite(twice)) continue;
        const Vector3D normal = across * (1 / twice);
        sum += Quadric::ofPlane(normal, at, twice);
        if (_mesh.kinds[point] == PointKind::Free) continue;
        for (const uint32 end : {s.next, s.previous})
        {
            if (!isFeature(star, end, _vertices)) continue;
            const Vector3D& edge = end == s.next ? to : from;
            sum += Quadric::ofPlane(unitOrZero(cross(edge, normal)), at, curveWeight * dot(edge, edge));
        }
    }
    return sum;
}

bool EdgeCollapses::sumQuadrics()
{
    return inPieces(_polling, _mesh.pointCount(), scatteredItems, _threadCount,
                    [&](uint32, uint64 begin, uint64 end)
                    {
                        Star star;
                        for (auto p = static_cast<uint32>(begin); p < end; ++p)
                            if (_mesh.findStar(p, star)) _mesh.points[p].quadric = quadricOf(star, p);
                    });
}

bool EdgeCollapses::mayMeet(uint32 a, uint32 b, const Star& star) const
{
    const PointKind ka = _mesh.kinds[a], kb = _mesh.kinds[b];
    if (ka == PointKind::Free || kb == PointKind::Free) return true;
    return (ka == PointKind::Curve || kb == PointKind::Curve) && isFeature(star, b, _vertices);
}

/// What a collapse costs: the quadrics' value by the square root of their weight, which lies between the
/// integral of the squared distance, that gives up small things early, and its mean, that gives up large
/// ones. A little of the edge's length keeps the order of edges in planes.
float EdgeCollapses::rank(uint32 a, uint32 b, MeetingPlace at) const
{
    const CollapsePoint &p = _mesh.points[a], &q = _mesh.points[b];
    const Quadric sum = p.quadric + q.quadric;
    const Vector3D edge = q.place - p.place;
    const double square = dot(edge, edge), weight = sum.weight();
    double cost;
    if (at == MeetingPlace::Best && _mesh.kinds[a] == _mesh.kinds[b])
    {
        const Vector3D middle = p.place + edge * 0.5;
        const Quadric::Lowest lowest = sum.lowestValue(middle);
        cost = lowest.square <= 4 * square ? lowest.value : sum.at(middle);
    }
    else
    {
        const bool first =
            at == MeetingPlace::Best ? _mesh.kinds[a] > _mesh.kinds[b] : at == MeetingPlace::First;
        cost = sum.at(first ? p.place : q.place);
    }
    if (!(weight > 0)) return 0;
    cost = (std::max(cost, 0.0) + lengthWeight * square * weight) * 0x1p60;
    return static_cast<float>(cost) / std::sqrt(static_cast<float>(weight));
}

/// Where the points of an edge meet: the one of the higher kind stays where it is, else the quadrics tell.
EdgeCollapses::Meeting EdgeCollapses::meet(uint32 a, uint32 b, MeetingPlace at) const
{
    const PointKind ka = _mesh.kinds[a], kb = _mesh.kinds[b];
    const Vector3D &pa = _mesh.points[a].place, &pb = _mesh.points[b].place;
    const Meeting atA{pa, 0, _origins[a]}, atB{pb, 1, _origins[b]};
    if (ka > kb || at == MeetingPlace::First) return atA;
    if (kb > ka || at == MeetingPlace::Second) return atB;
    const Quadric sum = _mesh.points[a].quadric + _mesh.points[b].quadric;
    const Vector3D edge = pb - pa, middle = pa + edge * 0.5;
    const double square = dot(edge, edge);
    Vector3D place = sum.lowestPoint(middle);
    const Vector3D away = place - middle;
    if (!(dot(away, away) <= square * 4)) place = middle;
    // points that are as good to within rounding stay what they are
    const double slack = sum.weight() * std::min(1e-14, 1e-6 * square);
    const double costA = sum.at(pa), costB = sum.at(pb);
    if (!(std::min(costA, costB) > sum.at(place) + slack)) return costA <= costB ? atA : atB;
    return {place, std::clamp(dot(place - pa, edge) / square, 0.0, 1.0), noIndex};
}

/// Calls visit(other) for the edges to points of higher numbers, some twice.
template <class Visit>
void EdgeCollapses::forEachOwnEdge(uint32 point, const Star& star, Visit visit) const
{
    const bool isFree = _mesh.kinds[point] == PointKind::Free;
    for (const StarFace& s : star)
    {
        if (s.next > point && mayMeet(point, s.next, star)) visit(s.next);
        // around free points every edge is the next one of a face
        if (!isFree && s.previous > point && mayMeet(point, s.previous, star)) visit(s.previous);
    }
}

BestEdge EdgeCollapses::cheapest(uint32 point, const Star& star) const
{
    BestEdge best = BestEdge::none();
    forEachOwnEdge(point, star,
                   [&](uint32 other)
                   {
                       const float cost = rank(point, other, MeetingPlace::Best);
                       if (cost < best.cost || (cost == best.cost && other < best.target))
                           best = BestEdge::to(other, _mesh.points[other].version, MeetingPlace::Best, cost);
                   });
    return best;
}

/// The cheapest edge that comes after one which may not be collapsed. Of the last tenth of the faces, where
/// little else is left, points may also meet at either's place; where the error is bounded that is of no use.
BestEdge EdgeCollapses::nextCheapest(uint32 point, const Star& star, const BestEdge& refused) const
{
    const auto key = [](const BestEdge& e) { return std::tuple(e.cost, e.target, e.stamp % 4); };
    const bool triesEnds = !isBounded(_goal) && _mesh.faceCount < _mesh.faces.size() / 10;
    BestEdge best = BestEdge::none();
    forEachOwnEdge(
        point, star,
        [&](uint32 other)
        {
            const bool isOnePlace = !triesEnds || _mesh.kinds[point] != _mesh.kinds[other];
            for (const MeetingPlace place : {MeetingPlace::Best, MeetingPlace::First, MeetingPlace::Second})
            {
                if (isOnePlace && place != MeetingPlace::Best) break;
                const BestEdge edge =
                    BestEdge::to(other, _mesh.points[other].version, place, rank(point, other, place));
                if (key(refused) < key(edge) && key(edge) < key(best)) best = edge;
            }
        });
    return best;
}

/// Whether the surface stays what it is when an edge is collapsed: the link condition of Dey, Edelsbrunner,
/// Guha and Nekhayev (Topology Preserving Edge Contraction, 1999). No part of it vanishes.
bool EdgeCollapses::keepsTopology(uint32 a, uint32 b)
{
    uint32 thirds[2], between = 0;
    for (const StarFace& s : _star)
    {
        if (!s.has(b)) continue;
        if (between == 2) return false;
        thirds[between++] = s.next == b ? s.previous : s.next;
    }
    if (between == 0 || (between == 2 && thirds[0] == thirds[1])) return false;
    if (_star.size() + _otherStar.size() <= 2 * between) return false;
    // the neighbours that both have are the third corners
    const uint32 ofA = ++_mark, ofBoth = ++_mark;
    for (const StarFace& s : _star) _marks[s.next] = _marks[s.previous] = ofA;
    uint32 common = 0;
    for (const StarFace& s : _otherStar)
        for (const uint32 p : {s.next, s.previous})
            if (p != a && _marks[p] == ofA)
            {
                _marks[p] = ofBoth;
                ++common;
            }
    if (common != between) return false;
    // a tetrahedron would become two faces back to back
    const auto hasFace = [&](const Star& star)
    {
        return std::any_of(star.begin(), star.end(),
                           [&](const StarFace& s) { return s.has(thirds[0]) && s.has(thirds[1]); });
    };
    if (between == 2 && hasFace(_star) && hasFace(_otherStar)) return false;
    // a corner that sticks out would be lost with its only face
    for (uint32 n = 0; n < between; ++n)
        if (_mesh.kinds[thirds[n]] != PointKind::Free && _mesh.findStar(thirds[n], _thirdStar) &&
            _thirdStar.size() < 2)
            return false;
    return true;
}

/// Whether no face turns by much when the point moves to the place, or becomes a sliver.
bool EdgeCollapses::keepsShape(const Star& star, uint32 point, uint32 other, const Vector3D& place) const
{
    const Vector3D& at = _mesh.points[point].place;
    for (const StarFace& s : star)
    {
        if (s.has(other)) continue;
        const Vector3D &p = _mesh.points[s.next].place, &q = _mesh.points[s.previous].place;
        const Vector3D before = cross(p - at, q - at), after = cross(p - place, q - place);
        const FaceShape shape(after, place, p, q);
        if (!shape.isWiderThan(leastHeight))
        {
            const FaceShape oldShape(before, at, p, q);
            if (!shape.isAsWideAs(oldShape)) return false;
            if (!oldShape.isWiderThan(1e-6)) continue;  // it had no direction to keep
        }
        const double both = dot(before, after);
        if (!(both > 0 && both * both > leastCosine * leastCosine * dot(before, before) * shape.areaSquare))
            return false;
    }
    return true;
}

bool EdgeCollapses::keepsError(uint32 a, uint32 b, const Vector3D& place)
{
    if (!isBounded(_goal)) return true;
    return findPatchErrors(_mesh, a, b, _star, _otherStar, place, _faceErrors, _newErrors) &&
           std::all_of(_newErrors.begin(), _newErrors.end(),
                       [&](float error) { return error <= _goal.error; });
}

void EdgeCollapses::wait(uint32 point, const BestEdge& best)
{
    _mesh.points[point].best = best;
    if (!best.isNone()) _queue.put(point, best.cost);
}

bool EdgeCollapses::fillQueue()
{
    const bool done = inPieces(_polling, _mesh.pointCount(), scatteredItems, _threadCount,
                               [&](uint32, uint64 begin, uint64 end)
                               {
                                   Star star;
                                   for (auto p = static_cast<uint32>(begin); p < end; ++p)
                                       _mesh.points[p].best = _mesh.isAlive(p) && _mesh.findStar(p, star)
                                                                  ? cheapest(p, star)
                                                                  : BestEdge::none();
                               });
    if (!done) return false;
    for (uint32 p = 0; p < _mesh.pointCount(); ++p) wait(p, _mesh.points[p].best);
    return true;
}

/// Collapses the edge that a point waits with, unless it has changed or may not be: then the point waits on.
void EdgeCollapses::collapseNext(uint32 a)
{
    if (!_mesh.isAlive(a) || !_mesh.findStar(a, _star)) return;
    const BestEdge edge = _mesh.points[a].best;
    const uint32 b = edge.target;
    if (_mesh.points[b].version != edge.version()) return wait(a, cheapest(a, _star));
    const Meeting meeting = meet(a, b, edge.place());
    if (!_mesh.findStar(b, _otherStar) || !keepsTopology(a, b) || !keepsShape(_star, a, b, meeting.place) ||
        !keepsShape(_otherStar, b, a, meeting.place) || !keepsError(a, b, meeting.place))
        return wait(a, nextCheapest(a, _star, edge));
    _vertices.join(b, _star, _otherStar, meeting.t);
    _normals.join(b, _star, _otherStar, meeting.t);
    _mesh.collapse(a, b, meeting.place, _star, _otherStar);
    _origins[a] = meeting.origin;
    for (uint32 n = 0; isBounded(_goal) && n < _star.size(); ++n)
    {
        _faceErrors[_star[n].face] = _newErrors[n];
        _error = std::max(_error, double{_newErrors[n]});
    }
    wait(a, cheapest(a, _star));
}

void EdgeCollapses::prefetchNext() const
{
    const uint32 next = _queue.next();
    if (next == noIndex) return;
    _mesh.prefetchStar(next);
    uint32 later = _queue.behind(next);
    if (later != noIndex) later = _queue.behind(later);
    if (later != noIndex) _mesh.prefetchPoint(later);
}

bool EdgeCollapses::run()
{
    if (!sumQuadrics()) return false;
    PollCounter work(_polling, 1024);
    // what was refused may do once the rest has changed; a round that changes little is the last
    for (uint32 before = noIndex; before - _mesh.faceCount > before / 1024 && _mesh.faceCount > _goal.faces;)
    {
        before = _mesh.faceCount;
        if (!fillQueue()) return false;
        const LongStep step(_polling, (_mesh.faceCount - _goal.faces) / 2);  // a collapse takes two faces
        for (uint32 p; _mesh.faceCount > _goal.faces && (p = _queue.take()) != noIndex;)
        {
            prefetchNext();
            collapseNext(p);
            if (!work.add(1)) return false;
        }
    }
    return true;
}

}  // namespace tavrix::detail
