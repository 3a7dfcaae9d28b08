#pragma once

#include <algorithm>
#include <cmath>

#include <tavrix/foundation/Box3.h>

namespace tavrix::detail
{

/// Whether a triangle, its inside included, and a closed box have a point in common: true unless an axis
/// parts them (the box's, the triangle's normal, or across an edge of each: Akenine-Möller, Fast 3D
/// Triangle-Box Overlap Testing, Journal of Graphics Tools 6, 2001). In double precision, in which what comes
/// closer than 2^-48 of the coordinates counts as touching.
class TriangleOverlap
{
public:
    static bool test(const Vector3D& a, const Vector3D& b, const Vector3D& c, Box3D box)
    {
        // no more of the box than the triangle may reach, which keeps infinite boxes finite
        for (uint32 axis = 0; axis < 3; ++axis)
        {
            box.min[axis] = std::max(box.min[axis], std::min({a[axis], b[axis], c[axis]}));
            box.max[axis] = std::min(box.max[axis], std::max({a[axis], b[axis], c[axis]}));
            if (!(box.min[axis] <= box.max[axis])) return false;
        }
        const TriangleOverlap overlap(a, b, c, box);
        const Vector3D edges[3] = {b - a, c - b, a - c};
        if (overlap.isParted(cross(edges[0], edges[1]))) return false;
        for (const Vector3D& edge : edges)
            for (uint32 axis = 0; axis < 3; ++axis)
            {
                Vector3D side{0, 0, 0};
                side[axis] = 1;
                if (overlap.isParted(cross(side, edge))) return false;
            }
        return true;
    }

private:
    TriangleOverlap(const Vector3D& a, const Vector3D& b, const Vector3D& c, const Box3D& box)
        : _half((box.max - box.min) * 0.5)
    {
        const Vector3D center = box.min + _half;
        _corners[0] = a - center;
        _corners[1] = b - center;
        _corners[2] = c - center;
        for (const Vector3D& corner : {a, b, c})
            for (uint32 axis = 0; axis < 3; ++axis)
                _slack = std::max(_slack, std::fabs(corner[axis]) * 0x1p-48);
    }

    bool isParted(const Vector3D& axis) const
    {
        const double p = dot(axis, _corners[0]), q = dot(axis, _corners[1]), r = dot(axis, _corners[2]);
        const double reach = std::fabs(axis.x) * (_half.x + _slack) + std::fabs(axis.y) * (_half.y + _slack) +
                             std::fabs(axis.z) * (_half.z + _slack);
        return std::min({p, q, r}) > reach || std::max({p, q, r}) < -reach;
    }

    Vector3D _half;
    Vector3D _corners[3];
    double _slack = 0;
};

}  // namespace tavrix::detail
