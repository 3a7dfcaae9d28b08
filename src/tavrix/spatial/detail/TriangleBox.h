#pragma once

#include <cmath>
#include <limits>

#include <tavrix/foundation/Box3.h>

namespace tavrix::detail
{

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
    if (box.isEmpty()) return Box3F::empty();
    Box3F rounded;
    for (uint32 axis = 0; axis < 3; ++axis)
    {
        rounded.min[axis] = floatBelow(box.min[axis] - margin * std::fabs(box.min[axis]));
        rounded.max[axis] = floatAbove(box.max[axis] + margin * std::fabs(box.max[axis]));
    }
    return rounded;
}

}  // namespace tavrix::detail
