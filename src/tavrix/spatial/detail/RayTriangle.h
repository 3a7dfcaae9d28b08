#pragma once

#include <cmath>
#include <utility>

#include <tavrix/foundation/Ray3.h>

namespace tavrix::detail
{

/// Where a ray hits a triangle: t along the ray, and the corners' weights.
struct TriangleHit
{
    double t;
    Vector3D weights;
};

/// A ray against triangles, without gaps (Woop, Benthin and Wald, Watertight Ray/Triangle Intersection,
/// Journal of Computer Graphics Techniques 2, 2013): corners are moved to the ray's origin and sheared so
/// that the ray runs along an axis, which gives a corner the same place in every triangle; and the sign of an
/// edge, seen along the ray, is right or zero, and the opposite for the triangle on the other side. Zero
/// counts as hit, so no ray slips through a common edge or corner.
class RayTriangle
{
public:
    /// The ray is finite, and its direction's largest component is in [1, 2).
    explicit RayTriangle(const Ray3D& ray) : _origin(ray.origin)
    {
        const Vector3D& d = ray.direction;
        const double x = std::fabs(d.x), y = std::fabs(d.y), z = std::fabs(d.z);
        _z = z >= x && z >= y ? 2 : y >= x ? 1 : 0;
        _x = (_z + 1) % 3;
        _y = (_z + 2) % 3;
        _shearX = d[_x] / d[_z];
        _shearY = d[_y] / d[_z];
        _scaleZ = 1 / d[_z];
    }

    /// False when the ray misses the triangle, runs in its plane, or the triangle has no area as the ray sees
    /// it.
    bool hit(const Vector3D& a, const Vector3D& b, const Vector3D& c, TriangleHit& hit) const
    {
        const Vector3D p = moved(a), q = moved(b), r = moved(c);
        const double u = r.x * q.y - r.y * q.x, v = p.x * r.y - p.y * r.x, w = q.x * p.y - q.y * p.x;
        // without branches in between, none of which could be foreseen
        const bool isLeft = (u >= 0) & (v >= 0) & (w >= 0), isRight = (u <= 0) & (v <= 0) & (w <= 0);
        if (!(isLeft | isRight)) return false;
        const double sum = u + v + w;
        if (sum == 0) return false;
        const double products = std::fabs(r.x * q.y) + std::fabs(p.x * r.y) + std::fabs(q.x * p.y);
        if (std::fabs(sum) > products * rounding)
            hit.weights = {u / sum, v / sum, w / sum};
        else if (!hitLongestEdge(p, q, r, hit.weights))
            return false;
        hit.t = hit.weights.x * p.z + hit.weights.y * q.z + hit.weights.z * r.z;
        return hit.t >= 0;
    }

private:
    Vector3D moved(const Vector3D& corner) const
    {
        const double v[3] = {corner.x - _origin.x, corner.y - _origin.y, corner.z - _origin.z};
        return {v[_x] - _shearX * v[_z], v[_y] - _shearY * v[_z], _scaleZ * v[_z]};
    }

    /// What the results of a few operations on areas and lengths may be off by.
    static constexpr double rounding = 0x1p-40;

    /// The weights where a triangle is seen so nearly from its edge that only the signs of the areas are left
    /// of them: it is as good as its longest edge then. False when the ray passes that at its ends.
    static bool hitLongestEdge(const Vector3D& p, const Vector3D& q, const Vector3D& r, Vector3D& weights)
    {
        const Vector3D corners[3] = {p, q, r};
        double longest = 0, along = 0;
        for (uint32 n = 0; n < 3; ++n)
        {
            const uint32 next = (n + 1) % 3;
            const double x = corners[next].x - corners[n].x, y = corners[next].y - corners[n].y;
            const double square = x * x + y * y;
            if (!(square > longest)) continue;
            longest = square;
            along = -(corners[n].x * x + corners[n].y * y) / square;
            weights = {0, 0, 0};
            weights[next] = along < 0 ? 0 : along > 1 ? 1 : along;
            weights[n] = 1 - weights[next];
        }
        return along >= -rounding && along <= 1 + rounding;
    }

    Vector3D _origin;
    uint32 _x, _y, _z;
    double _shearX, _shearY, _scaleZ;
};

}  // namespace tavrix::detail
