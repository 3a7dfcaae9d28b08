#include <algorithm>
#include <cmath>

#include <tavrix/mesh/detail/LineWinding.h>
#include <tavrix/mesh/detail/MeshFaces.h>
#include <tavrix/spatial/detail/RayTriangle.h>
#include <tavrix/spatial/detail/TriangleBox.h>
#include <tavrix/spatial/detail/TriangleNearest.h>
#include <tavrix/spatial/detail/TriangleOverlap.h>
#include <tavrix/spatial/MeshCollider.h>

namespace tavrix
{

namespace
{

/// A ray whose direction's largest component is in [1, 2), by a power of two, so that nothing is rounded.
struct ScaledRay
{
    Ray3D ray;
    int exponent;  ///< the asked ray's direction is this one's times 2 to its power
};

/// None when the ray is not finite or has no direction.
std::optional<ScaledRay> scaled(const Ray3D& ray)
{
    const Vector3D& d = ray.direction;
    if (!isFinite(ray.origin) || !isFinite(d) || d == Vector3D{0, 0, 0}) return std::nullopt;
    const int exponent = std::ilogb(std::max({std::fabs(d.x), std::fabs(d.y), std::fabs(d.z)}));
    const auto scale = [exponent](double v) { return std::scalbn(v, -exponent); };
    return ScaledRay{{ray.origin, {scale(d.x), scale(d.y), scale(d.z)}}, exponent};
}

/// The corners of a face.
struct Corners
{
    Vector3D a, b, c;

    Vector3D at(const Vector3D& weights) const { return a * weights.x + b * weights.y + c * weights.z; }
};

Corners cornersOf(const detail::MeshFaces& faces, uint32 face)
{
    return {faces.corner(face, 0), faces.corner(face, 1), faces.corner(face, 2)};
}

/// False for faces that do not count.
bool getCorners(const detail::MeshFaces& faces, uint32 face, Corners& corners)
{
    if (!faces.isUsable(face)) return false;
    corners = cornersOf(faces, face);
    return true;
}

/// The nearest face so far; of equally near ones that with the lowest number.
struct Nearest
{
    uint32 face = noIndex;
    double measure = 0;
    Vector3D weights{};

    void take(uint32 candidate, double candidateMeasure, const Vector3D& candidateWeights)
    {
        if (face != noIndex &&
            !(candidateMeasure < measure || (candidateMeasure == measure && candidate < face)))
            return;
        face = candidate;
        measure = candidateMeasure;
        weights = candidateWeights;
    }
};

}  // namespace

std::optional<MeshPoint> MeshCollider::castRay(const Ray3D& ray, double limit) const
{
    const auto asked = scaled(ray);
    if (!asked) return std::nullopt;
    const detail::MeshFaces faces(_mesh);
    const detail::RayTriangle test(asked->ray);
    Nearest nearest;
    _tree.visitRay(asked->ray, std::scalbn(limit, asked->exponent),
                   [&](uint32 face, double reach)
                   {
                       Corners f;
                       detail::TriangleHit hit;
                       if (!getCorners(faces, face, f) || !test.hit(f.a, f.b, f.c, hit) || !(hit.t <= reach))
                           return reach;
                       nearest.take(face, hit.t, hit.weights);
                       return hit.t;
                   });
    if (nearest.face == noIndex) return std::nullopt;
    return MeshPoint{nearest.face, std::scalbn(nearest.measure, -asked->exponent), nearest.weights,
                     cornersOf(faces, nearest.face).at(nearest.weights)};
}

bool MeshCollider::isHit(const Ray3D& ray, double limit) const
{
    const auto asked = scaled(ray);
    if (!asked) return false;
    const detail::MeshFaces faces(_mesh);
    const detail::RayTriangle test(asked->ray);
    bool isFound = false;
    _tree.visitRay(asked->ray, std::scalbn(limit, asked->exponent),
                   [&](uint32 face, double reach)
                   {
                       Corners f;
                       detail::TriangleHit hit;
                       isFound = getCorners(faces, face, f) && test.hit(f.a, f.b, f.c, hit) && hit.t <= reach;
                       return isFound ? -1 : reach;
                   });
    return isFound;
}

std::optional<MeshPoint> MeshCollider::nearestPoint(const Vector3D& point, double limit) const
{
    if (!(limit >= 0)) return std::nullopt;
    const detail::MeshFaces faces(_mesh);
    Nearest nearest;
    _tree.visitNearest(point, limit * limit,
                       [&](uint32 face, double reach)
                       {
                           Corners f;
                           if (!getCorners(faces, face, f)) return reach;
                           const auto found = detail::TriangleNearest::to(point, f.a, f.b, f.c);
                           if (!(found.squared <= reach)) return reach;
                           nearest.take(face, found.squared, found.weights);
                           return found.squared;
                       });
    if (nearest.face == noIndex) return std::nullopt;
    return MeshPoint{nearest.face, std::sqrt(nearest.measure), nearest.weights,
                     cornersOf(faces, nearest.face).at(nearest.weights)};
}

/// Calls visit(corners) for the faces whose boxes meet the segment from a point along an axis, and for
/// others.
template <class Visit>
void MeshCollider::visitAlong(const Vector3D& from, uint32 axis, double to, Visit visit) const
{
    const detail::MeshFaces faces(_mesh);
    Box3F line{{detail::floatBelow(from.x), detail::floatBelow(from.y), detail::floatBelow(from.z)},
               {detail::floatAbove(from.x), detail::floatAbove(from.y), detail::floatAbove(from.z)}};
    line.min[axis] = std::min(line.min[axis], detail::floatBelow(to));
    line.max[axis] = std::max(line.max[axis], detail::floatAbove(to));
    _tree.visitOverlapping(line,
                           [&](uint32 face, double reach)
                           {
                               Corners f;
                               if (getCorners(faces, face, f)) visit(f);
                               return reach;
                           });
}

double MeshCollider::windingNumber(const Vector3D& point) const
{
    if (!isFinite(point)) return 0;
    const Box3F root = _tree.getRootNode();
    int32 windings = 0;
    for (uint32 axis = 0; axis < 3; ++axis)
    {
        const double low = root.min[axis], high = root.max[axis];
        if (!(low <= detail::floatAbove(point[axis]) && detail::floatBelow(point[axis]) <= high)) return 0;
        Vector3D from = point;
        from[axis] = low;
        detail::LineWinding winding(point, axis);
        visitAlong(from, axis, high, [&](const Corners& f) { winding.add(f.a, f.b, f.c); });
        windings += winding.sum();
    }
    return windings / 6.0;
}

/// The faces of the line that do not meet the segment count the same at both ends.
int32 MeshCollider::windingChange(const Vector3D& from, uint32 axis, double to) const
{
    Vector3D end = from;
    end[axis] = to;
    if (!isFinite(from) || !isFinite(end)) return 0;
    detail::LineWinding before(from, axis), behind(end, axis);
    visitAlong(from, axis, to,
               [&](const Corners& f)
               {
                   before.add(f.a, f.b, f.c);
                   behind.add(f.a, f.b, f.c);
               });
    return (behind.sum() - before.sum()) / 2;
}

bool MeshCollider::isInside(const Vector3D& point) const { return std::abs(windingNumber(point)) > 0.5; }

void MeshCollider::findOverlapping(const Box3D& box, Array<uint32>& faces) const
{
    faces.clear();
    const detail::MeshFaces corners(_mesh);
    Box3F outwards;
    for (uint32 axis = 0; axis < 3; ++axis)
    {
        outwards.min[axis] = detail::floatBelow(box.min[axis]);
        outwards.max[axis] = detail::floatAbove(box.max[axis]);
    }
    _tree.visitOverlapping(
        outwards,
        [&](uint32 face, double reach)
        {
            Corners f;
            if (getCorners(corners, face, f) && detail::TriangleOverlap::test(f.a, f.b, f.c, box))
                faces.push_back(face);
            return reach;
        });
    std::sort(faces.begin(), faces.end());
}

}  // namespace tavrix
