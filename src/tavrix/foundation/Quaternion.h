#pragma once

#include <tavrix/foundation/Vector3.h>

namespace tavrix
{

/// A rotation as a unit quaternion w + xi + yj + zk.
template <class T>
struct Quaternion
{
    /// The four numbers; nothing keeps their length at one.
    /// @{
    T w, x, y, z;
    /// @}

    /// The rotation about a unit axis by an angle, given by the cosine and sine of half the angle.
    static constexpr Quaternion fromHalfAngle(const Vector3<T>& axis, T cosine, T sine)
    {
        return {cosine, axis.x * sine, axis.y * sine, axis.z * sine};
    }

    /// The vector turned by this rotation.
    constexpr Vector3<T> rotate(const Vector3<T>& v) const
    {
        const Vector3<T> u{x, y, z};
        const Vector3<T> t = cross(u, v) * T(2);
        return v + t * w + cross(u, t);
    }
};

/// A rotation in double precision.
using QuaternionD = Quaternion<double>;

}  // namespace tavrix
