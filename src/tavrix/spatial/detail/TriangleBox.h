#pragma once

#include <cmath>
#include <limits>

#include <tavrix/foundation/Array.h>
#include <tavrix/foundation/Box3.h>
#include <tavrix/foundation/Tuple.h>

namespace tavrix::detail
{

/// Whether the triangle exists and its three corners exist and are finite.
inline bool isUsable(const Array<Index3>& triangles, const Array<Vector3D>& positions, uint32 triangle)
{
    if (triangle >= triangles.size()) return false;
    for (uint32 c = 0; c < 3; ++c)
    {
        const uint32 corner = triangles[triangle][c];
        if (corner >= positions.size() || !isFinite(positions[corner])) return false;
    }
    return true;
}

/// The box of a triangle; that of no points when it is not usable.
inline Box3D triangleBox(const Array<Index3>& triangles, const Array<Vector3D>& positions, uint32 triangle)
{
    Box3D box = Box3D::empty();
    if (!isUsable(triangles, positions, triangle)) return box;
    for (uint32 c = 0; c < 3; ++c) box.extend(positions[triangles[triangle][c]]);
    return box;
}

/// The largest float that is not above the number.
inline float floatBelow(double value)
{
    constexpr float infinity = std::numeric_limits<float>::infinity();
    const auto nearest = static_cast<float>(value);
    return double{nearest} > value ? std::nextafter(nearest, -infinity) : nearest;
}

inline float floatAbove(double value) { return -floatBelow(-value); }

/// The box in single precision, not smaller than it is in double precision, each side moved outwards by
/// `margin` times its coordinate; the box of no points stays that.
inline Box3F roundedOutwards(const Box3D& box, double margin)
{
    if (!(box.min.x <= box.max.x)) return Box3F::empty();
    Box3F rounded;
    for (uint32 axis = 0; axis < 3; ++axis)
    {
        rounded.min[axis] = floatBelow(box.min[axis] - margin * std::fabs(box.min[axis]));
        rounded.max[axis] = floatAbove(box.max[axis] + margin * std::fabs(box.max[axis]));
    }
    return rounded;
}

}  // namespace tavrix::detail
