#include <tavrix/meshproc/detail/PatchDeviation.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <utility>

namespace tavrix::detail
{

namespace
{

constexpr double infinite = std::numeric_limits<double>::infinity();

/// Twice the area of a triangle in the plane, above 0 when it runs counter-clockwise.
double areaOf(const Vector3D& a, const Vector3D& b, const Vector3D& c)
{
    return (b.x - a.x) * (c.y - a.y) - (b.y - a.y) * (c.x - a.x);
}

/// A plane with axes of its own: x and y in it, z the height over it.
class Chart
{
public:
    Chart(const Vector3D& origin, const Vector3D& normal) : _origin(origin), _z(normal)
    {
        const Vector3D aside = std::fabs(normal.x) < 0.6 ? Vector3D{1, 0, 0} : Vector3D{0, 1, 0};
        _x = unitOrZero(cross(aside, normal));
        _y = cross(normal, _x);
    }
    Vector3D at(const Vector3D& p) const
    {
        const Vector3D d = p - _origin;
        return {dot(d, _x), dot(d, _y), dot(d, _z)};
    }

private:
    Vector3D _origin, _x, _y, _z;
};

/// A triangle over the chart.
struct Leaf
{
    std::array<Vector3D, 3> corners;
    double error;

    double area() const { return areaOf(corners[0], corners[1], corners[2]); }
    /// The cosine of the angle to the plane.
    double cosine() const { return area() / length(cross(corners[1] - corners[0], corners[2] - corners[0])); }
    /// The corners' weights at a point of the plane.
    Vector3D weightsAt(const Vector3D& p) const
    {
        const double u = areaOf(p, corners[1], corners[2]) / area(),
                     v = areaOf(corners[0], p, corners[2]) / area();
        return {u, v, 1 - u - v};
    }
};

/// Whether two counter-clockwise triangles have points of the plane in common: no side of one has all of the
/// other outside, or nearly so.
bool overlap(const Leaf& a, const Leaf& b)
{
    const auto isApart = [](const Leaf& s, const Leaf& t)
    {
        for (uint32 n = 0; n < 3; ++n)
        {
            const Vector3D &from = s.corners[n], &to = s.corners[(n + 1) % 3];
            double most = -infinite;
            for (const Vector3D& p : t.corners) most = std::max(most, areaOf(from, to, p));
            if (most <= 1e-9 * s.area()) return true;
        }
        return false;
    };
    return !isApart(a, b) && !isApart(b, a);
}

/// The triangle that holds a point of the plane, or comes nearest to that, and its height there.
std::pair<uint32, double> leafAt(const std::vector<Leaf>& leaves, const Vector3D& p)
{
    double most = -infinite, height = 0;
    uint32 found = 0;
    for (uint32 n = 0; n < leaves.size(); ++n)
    {
        const auto& [a, b, c] = leaves[n].corners;
        const Vector3D w = leaves[n].weightsAt(p);
        const double inside = std::min({w.x, w.y, w.z});
        if (!(inside > most)) continue;
        most = inside;
        found = n;
        height = w.x * a.z + w.y * b.z + w.z * c.z;
    }
    return {found, height};
}

/// How far apart two segments are in height where they cross over the plane; 0 where they do not.
double gapAtCrossing(const Vector3D& a, const Vector3D& b, const Vector3D& c, const Vector3D& d)
{
    const Vector3D ab = b - a, cd = d - c, ac = c - a;
    const double across = ab.x * cd.y - ab.y * cd.x;
    const double s = (ac.x * cd.y - ac.y * cd.x) / across, t = (ac.x * ab.y - ac.y * ab.x) / across;
    if (!(s >= 0 && s <= 1 && t >= 0 && t <= 1)) return 0;
    return std::fabs(a.z + s * ab.z - (c.z + t * cd.z));
}

double distanceFromSegment(const Vector3D& p, const Vector3D& a, const Vector3D& b)
{
    const Vector3D ab = b - a;
    const double square = dot(ab, ab), along = dot(p - a, ab);
    return length(p - (a + ab * (along > 0 ? (along < square ? along / square : 1) : 0)));
}

/// The ends of the border that runs through both points, from one neighbour to the other: how far its course
/// moves when they meet.
double borderDeviation(const CollapseMesh& mesh, uint32 a, uint32 b, const Star& starOfA, const Star& starOfB,
                       const Vector3D& place)
{
    const auto otherEnd = [](const Star& star, uint32 besides)
    {
        for (const StarFace& s : star)
            for (const uint32 end : {s.next, s.previous})
                if (end != besides && isBorder(star, end)) return end;
        return besides;
    };
    const Vector3D &pa = mesh.points[a].place, &pb = mesh.points[b].place;
    const Vector3D &ya = mesh.points[otherEnd(starOfA, b)].place,
                   &yb = mesh.points[otherEnd(starOfB, a)].place;
    return std::max({distanceFromSegment(pa, ya, place), distanceFromSegment(pb, place, yb),
                     distanceFromSegment(place, pa, pb)});
}

/// The faces around two points before and after they meet, over a plane across their mean normal.
class Patch
{
public:
    Patch(const CollapseMesh& mesh, uint32 a, uint32 b, const Star& starOfA, const Star& starOfB,
          const Vector3D& place, const Array<float>& errors)
        : _mesh(mesh), _chart(place, meanNormal(mesh, a, b, starOfA, starOfB))
    {
        _ends[0] = _chart.at(mesh.points[a].place);
        _ends[1] = _chart.at(mesh.points[b].place);
        _edges.push_back({_ends[0], _ends[1]});
        add(starOfA, _ends[0], b, true, errors);
        add(starOfB, _ends[1], a, false, errors);
        for (const std::vector<Leaf>* leaves : {&_before, &_after})
            for (const Leaf& leaf : *leaves) _leastCosine = std::min(_leastCosine, leaf.cosine());
    }

    /// Steeper faces would be told apart badly; those without area have no side.
    bool isOverPlane() const { return _leastCosine > 0.02; }
    double leastCosine() const { return _leastCosine; }

    void findErrors(double atBorder, std::vector<float>& errors) const
    {
        std::vector<double> gaps(_after.size(), std::fabs(leafAt(_before, meeting).second));
        for (const Vector3D& end : _ends)
        {
            const auto [n, height] = leafAt(_after, end);
            gaps[n] = std::max(gaps[n], std::fabs(end.z - height));
        }
        errors.clear();
        for (uint32 n = 0; n < _after.size(); ++n)
        {
            double before = 0;
            for (const Leaf& old : _before)
                if (old.error > before && overlap(old, _after[n])) before = old.error;
            for (const auto& [from, to] : _edges)
                for (const uint32 corner : {1u, 2u})
                    gaps[n] = std::max(gaps[n], gapAtCrossing(meeting, _after[n].corners[corner], from, to));
            errors.push_back(static_cast<float>(before + gaps[n] + atBorder));
        }
    }

private:
    static constexpr Vector3D meeting{0, 0, 0};

    static Vector3D meanNormal(const CollapseMesh& mesh, uint32 a, uint32 b, const Star& starOfA,
                               const Star& starOfB)
    {
        Vector3D sum{0, 0, 0};
        const auto addUp = [&](const Star& star, uint32 point, uint32 besides)
        {
            const Vector3D& at = mesh.points[point].place;
            for (const StarFace& s : star)
                if (!s.has(besides))
                    sum += cross(mesh.points[s.next].place - at, mesh.points[s.previous].place - at);
        };
        addUp(starOfA, a, noIndex);
        addUp(starOfB, b, a);
        return unitOrZero(sum);
    }

    void add(const Star& star, const Vector3D& point, uint32 other, bool isFirst, const Array<float>& errors)
    {
        for (const StarFace& s : star)
        {
            const Vector3D next = _chart.at(_mesh.points[s.next].place);
            const Vector3D previous = _chart.at(_mesh.points[s.previous].place);
            _edges.push_back({point, next});
            _edges.push_back({point, previous});
            if (!s.has(other)) _after.push_back({{meeting, next, previous}, 0});
            if (!s.has(other) || isFirst) _before.push_back({{point, next, previous}, errors[s.face]});
        }
    }

    const CollapseMesh& _mesh;
    Chart _chart;
    std::array<Vector3D, 2> _ends;
    std::vector<Leaf> _before, _after;
    std::vector<std::array<Vector3D, 2>> _edges;  ///< of the faces before
    double _leastCosine = 1;
};

}  // namespace

bool findPatchErrors(const CollapseMesh& mesh, uint32 a, uint32 b, const Star& starOfA, const Star& starOfB,
                     const Vector3D& place, const Array<float>& errors, std::vector<float>& errorsAfter)
{
    const Patch patch(mesh, a, b, starOfA, starOfB, place, errors);
    if (!patch.isOverPlane()) return false;
    double atBorder = 0;
    if (isBorder(starOfA, b))
        atBorder = borderDeviation(mesh, a, b, starOfA, starOfB, place) * (1 + 1 / patch.leastCosine());
    patch.findErrors(atBorder, errorsAfter);
    return true;
}

}  // namespace tavrix::detail
