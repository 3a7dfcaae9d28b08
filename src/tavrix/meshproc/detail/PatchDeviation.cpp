#include <tavrix/meshproc/detail/PatchDeviation.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

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
using Leaf = std::array<Vector3D, 3>;

/// The height of the triangles over a point, in the one that holds it or comes nearest to that.
double heightAt(const std::vector<Leaf>& leaves, const Vector3D& p)
{
    double best = -infinite, height = infinite;
    for (const Leaf& t : leaves)
    {
        const double area = areaOf(t[0], t[1], t[2]);
        const double u = areaOf(p, t[1], t[2]) / area, v = areaOf(t[0], p, t[2]) / area, w = 1 - u - v;
        const double inside = std::min({u, v, w});
        if (!(inside > best)) continue;
        best = inside;
        height = u * t[0].z + v * t[1].z + w * t[2].z;
    }
    return height;
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

}  // namespace

double patchDeviation(const CollapseMesh& mesh, uint32 a, uint32 b, const Star& starOfA, const Star& starOfB,
                      const Vector3D& place)
{
    const auto at = [&](uint32 point) -> const Vector3D& { return mesh.points[point].place; };
    Vector3D normal{0, 0, 0};
    const auto addUp = [&](const Star& star, uint32 point, uint32 besides)
    {
        for (const StarFace& s : star)
            if (!s.has(besides)) normal += cross(at(s.next) - at(point), at(s.previous) - at(point));
    };
    addUp(starOfA, a, noIndex);
    addUp(starOfB, b, a);
    normal = unitOrZero(normal);
    if (normal == Vector3D{0, 0, 0}) return infinite;

    const Chart chart(place, normal);
    const Vector3D pa = chart.at(at(a)), pb = chart.at(at(b)), meeting{0, 0, 0};
    std::vector<Leaf> before, after;
    std::vector<std::array<Vector3D, 2>> oldEdges{{pa, pb}};
    std::vector<Vector3D> rim;
    uint32 between = 0;
    double steepest = 1;  // the cosine of the angle to the plane
    const auto unfold = [&](const Star& star, const Vector3D& point, uint32 other, bool isFirst)
    {
        for (const StarFace& s : star)
        {
            const Vector3D next = chart.at(at(s.next)), previous = chart.at(at(s.previous));
            for (const Vector3D& end : {next, previous}) oldEdges.push_back({point, end});
            if (s.has(other) && !isFirst) continue;
            before.push_back({point, next, previous});
            const double area = areaOf(point, next, previous);
            steepest = std::min(steepest, area / length(cross(next - point, previous - point)));
            if (s.has(other))
            {
                ++between;
                continue;
            }
            after.push_back({meeting, next, previous});
            rim.push_back(next);
            rim.push_back(previous);
        }
    };
    unfold(starOfA, pa, b, true);
    unfold(starOfB, pb, a, false);
    // steeper faces would be told apart badly; faces without area have no side
    constexpr double steepestAllowed = 0.02;
    if (!(steepest > steepestAllowed)) return infinite;
    for (const Leaf& t : after)
        if (!(areaOf(t[0], t[1], t[2]) > steepestAllowed * length(cross(t[1] - t[0], t[2] - t[0]))))
            return infinite;

    double deviation = std::max({std::fabs(pa.z - heightAt(after, pa)), std::fabs(pb.z - heightAt(after, pb)),
                                 std::fabs(heightAt(before, meeting))});
    for (const Vector3D& end : rim)
        for (const auto& edge : oldEdges)
            deviation = std::max(deviation, gapAtCrossing(meeting, end, edge[0], edge[1]));
    if (between == 1) deviation += borderDeviation(mesh, a, b, starOfA, starOfB, place) * (1 + 1 / steepest);
    return deviation;
}

}  // namespace tavrix::detail
