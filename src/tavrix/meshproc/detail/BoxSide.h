#pragma once

#include <tavrix/foundation/Box3.h>
#include <tavrix/foundation/Vector2.h>

namespace tavrix::detail
{

/// The plane of one side of a box.
struct BoxSide
{
    uint32 axis;
    bool isUpper;
    double value;

    /// Sides 0 to 5: the lower and the upper one across x, y and z.
    BoxSide(const Box3D& box, uint32 number)
        : axis(number / 2), isUpper(number % 2 == 1), value(isUpper ? box.max[axis] : box.min[axis])
    {
    }

    /// 1 for a point within, 0 on the plane, -1 outside or not a number.
    int sideOf(const Vector3D& p) const
    {
        const double x = p[axis];
        if (x == value) return 0;
        return (isUpper ? x < value : x > value) ? 1 : -1;
    }

    /// The axes of the plane, that turn counter-clockwise seen from outside the box.
    /// @{
    uint32 u() const { return (axis + (isUpper ? 1 : 2)) % 3; }
    uint32 v() const { return (axis + (isUpper ? 2 : 1)) % 3; }
    /// @}
    Vector2D project(const Vector3D& p) const { return {p[u()], p[v()]}; }

    /// The unit vector that points out of the box.
    Vector3F normal() const
    {
        Vector3F normal{0, 0, 0};
        normal[axis] = isUpper ? 1.0F : -1.0F;
        return normal;
    }
};

}  // namespace tavrix::detail
