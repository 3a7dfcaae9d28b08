#include <algorithm>
#include <bit>
#include <cmath>

#include <tavrix/mesh/detail/LineWinding.h>
#include <tavrix/spatial/detail/FaceTree.h>
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

/// A number times 2 to a power.
double timesPower(double number, int power)
{
    constexpr int bias = 1023;
    if (power <= -bias || power > bias) return std::scalbn(number, power);
    return number * std::bit_cast<double>(static_cast<uint64>(power + bias) << 52);
}

/// None when the ray is not finite or has no direction.
std::optional<ScaledRay> scaled(const Ray3D& ray)
{
    const Vector3D& d = ray.direction;
    if (!isFinite(ray.origin) || !isFinite(d) || d == Vector3D{0, 0, 0}) return std::nullopt;
    const int exponent = std::ilogb(std::max({std::fabs(d.x), std::fabs(d.y), std::fabs(d.z)}));
    const auto scale = [exponent](double v) { return timesPower(v, -exponent); };
    return ScaledRay{{ray.origin, {scale(d.x), scale(d.y), scale(d.z)}}, exponent};
}

/// The nearest face so far; of equally near ones that with the lowest number.
struct Nearest
{
    const detail::WideFace* face = nullptr;
    double measure = 0;
    Vector3D weights{};

    void take(const detail::WideFace& candidate, double candidateMeasure, const Vector3D& candidateWeights)
    {
        if (face &&
            !(candidateMeasure < measure || (candidateMeasure == measure && candidate.number < face->number)))
            return;
        face = &candidate;
        measure = candidateMeasure;
        weights = candidateWeights;
    }
};

}  // namespace

std::optional<MeshPoint> MeshCollider::castRay(const Ray3D& ray, double limit) const
{
    const auto asked = scaled(ray);
    if (!asked || !_faces) return std::nullopt;
    const detail::RayTriangle test(asked->ray);
    Nearest nearest;
    _faces->visitRay(asked->ray, timesPower(limit, asked->exponent),
                     [&](uint32 slot, double reach)
                     {
                         const detail::WideFace& f = _faces->face(slot);
                         detail::TriangleHit hit;
                         if (!test.hit(f.a, f.b, f.c, hit) || !(hit.t <= reach)) return reach;
                         nearest.take(f, hit.t, hit.weights);
                         return hit.t;
                     });
    if (!nearest.face) return std::nullopt;
    return MeshPoint{nearest.face->number, timesPower(nearest.measure, -asked->exponent), nearest.weights,
                     nearest.face->at(nearest.weights)};
}

bool MeshCollider::isHit(const Ray3D& ray, double limit) const
{
    const auto asked = scaled(ray);
    if (!asked || !_faces) return false;
    const detail::RayTriangle test(asked->ray);
    bool isFound = false;
    _faces->visitRay(asked->ray, timesPower(limit, asked->exponent),
                     [&](uint32 slot, double reach)
                     {
                         const detail::WideFace& f = _faces->face(slot);
                         detail::TriangleHit hit;
                         isFound = test.hit(f.a, f.b, f.c, hit) && hit.t <= reach;
                         return isFound ? -1 : reach;
                     });
    return isFound;
}

std::optional<MeshPoint> MeshCollider::nearestPoint(const Vector3D& point, double limit) const
{
    if (!(limit >= 0) || !isFinite(point) || !_faces) return std::nullopt;
    Nearest nearest;
    _faces->visitNearest(point, limit * limit,
                         [&](uint32 slot, double reach)
                         {
                             const detail::WideFace& f = _faces->face(slot);
                             const auto found = detail::TriangleNearest::to(point, f.a, f.b, f.c);
                             if (!(found.squared <= reach)) return reach;
                             nearest.take(f, found.squared, found.weights);
                             return found.squared;
                         });
    if (!nearest.face) return std::nullopt;
    return MeshPoint{nearest.face->number, std::sqrt(nearest.measure), nearest.weights,
                     nearest.face->at(nearest.weights)};
}

/// Calls visit(corners) for the faces whose boxes meet the segment from a point along an axis, and for
/// others.
template <class Visit>
void MeshCollider::visitAlong(const Vector3D& from, uint32 axis, double to, Visit visit) const
{
    Box3F line{{detail::floatBelow(from.x), detail::floatBelow(from.y), detail::floatBelow(from.z)},
               {detail::floatAbove(from.x), detail::floatAbove(from.y), detail::floatAbove(from.z)}};
    line.min[axis] = std::min(line.min[axis], detail::floatBelow(to));
    line.max[axis] = std::max(line.max[axis], detail::floatAbove(to));
    _faces->visitOverlapping(line, [&](uint32 slot) { visit(_faces->face(slot)); });
}

/// What both rays along an axis find. Of a closed mesh one is enough, the shorter.
int32 MeshCollider::windingAlong(const Vector3D& point, uint32 axis) const
{
    const double low = _faces->box().min[axis], high = _faces->box().max[axis];
    const bool isNearHigh = high - point[axis] < point[axis] - low;
    Vector3D from = point;
    if (!_faces->isClosed() || !isNearHigh) from[axis] = low;
    const double to = _faces->isClosed() && !isNearHigh ? point[axis] : high;
    detail::LineWinding winding(point, axis);
    visitAlong(from, axis, to, [&](const detail::WideFace& f) { winding.add(f.a, f.b, f.c); });
    if (!_faces->isClosed()) return winding.sum();
    return isNearHigh ? winding.sumOfAhead() : winding.sumOfBehind();
}

double MeshCollider::windingNumber(const Vector3D& point) const
{
    if (!isFinite(point) || !_faces || !_faces->mayHold(point)) return 0;
    int32 windings = 0;
    for (uint32 axis = 0; axis < 3; ++axis) windings += windingAlong(point, axis);
    return windings / 6.0;
}

/// The faces of the line that do not meet the segment count the same at both ends.
int32 MeshCollider::windingChange(const Vector3D& from, uint32 axis, double to) const
{
    Vector3D end = from;
    end[axis] = to;
    if (!isFinite(from) || !isFinite(end) || !_faces) return 0;
    detail::LineWinding before(from, axis), behind(end, axis);
    visitAlong(from, axis, to,
               [&](const detail::WideFace& f)
               {
                   before.add(f.a, f.b, f.c);
                   behind.add(f.a, f.b, f.c);
               });
    return (behind.sum() - before.sum()) / 2;
}

bool MeshCollider::isInside(const Vector3D& point) const { return std::abs(windingNumber(point)) > 0.5; }

double MeshCollider::signedDistance(const Vector3D& point) const
{
    const auto nearest = nearestPoint(point);
    if (!nearest) return std::numeric_limits<double>::infinity();
    return isInside(point) ? -nearest->distance : nearest->distance;
}

void MeshCollider::findOverlapping(const Box3D& box, Array<uint32>& faces) const
{
    faces.clear();
    if (!_faces) return;
    Box3F outwards;
    for (uint32 axis = 0; axis < 3; ++axis)
    {
        outwards.min[axis] = detail::floatBelow(box.min[axis]);
        outwards.max[axis] = detail::floatAbove(box.max[axis]);
    }
    _faces->visitOverlapping(outwards,
                             [&](uint32 slot)
                             {
                                 const detail::WideFace& f = _faces->face(slot);
                                 if (detail::TriangleOverlap::test(f.a, f.b, f.c, box))
                                     faces.push_back(f.number);
                             });
    std::sort(faces.begin(), faces.end());
}

}  // namespace tavrix
