#pragma once

#include <tavrix/foundation/Vector3.h>

namespace tavrix
{

/// The points origin + t * direction for t >= 0. The direction need not have unit length.
template <class T>
struct Ray3
{
    /// Where the ray starts and the way it goes, and the point after t lengths of the direction.
    /// @{
    Vector3<T> origin, direction;

    constexpr Vector3<T> at(T t) const { return origin + direction * t; }
    /// @}
};

/// A ray in double precision.
using Ray3D = Ray3<double>;

}  // namespace tavrix
