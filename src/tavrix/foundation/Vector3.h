#pragma once

#include <cmath>
#include <limits>

#include <tavrix/platform/Types.h>

namespace tavrix
{

/// Three components. A plain aggregate: a fresh array of them is not initialised.
template <class T>
struct Vector3
{
    /// The components, by name or by axis (0, 1 or 2), and arithmetic on them one by one.
    /// @{
    T x, y, z;

    constexpr T& operator[](uint32 axis) { return axis == 0 ? x : axis == 1 ? y : z; }
    constexpr const T& operator[](uint32 axis) const { return axis == 0 ? x : axis == 1 ? y : z; }

    constexpr Vector3& operator+=(const Vector3& b) { return *this = *this + b; }
    constexpr Vector3& operator-=(const Vector3& b) { return *this = *this - b; }
    constexpr Vector3& operator*=(T s) { return *this = *this * s; }

    friend constexpr Vector3 operator+(const Vector3& a, const Vector3& b)
    {
        return {a.x + b.x, a.y + b.y, a.z + b.z};
    }
    friend constexpr Vector3 operator-(const Vector3& a, const Vector3& b)
    {
        return {a.x - b.x, a.y - b.y, a.z - b.z};
    }
    friend constexpr Vector3 operator-(const Vector3& a) { return {-a.x, -a.y, -a.z}; }
    friend constexpr Vector3 operator*(const Vector3& a, T s) { return {a.x * s, a.y * s, a.z * s}; }
    friend constexpr Vector3 operator*(T s, const Vector3& a) { return a * s; }
    friend constexpr Vector3 operator/(const Vector3& a, T s) { return {a.x / s, a.y / s, a.z / s}; }
    friend constexpr bool operator==(const Vector3&, const Vector3&) = default;
    /// @}
};

/// Vectors of three components in single or double precision.
/// @{
using Vector3F = Vector3<float>;
using Vector3D = Vector3<double>;
/// @}
static_assert(sizeof(Vector3F) == 12 && sizeof(Vector3D) == 24);

/// The sum of the products of the components.
template <class T>
constexpr T dot(const Vector3<T>& a, const Vector3<T>& b)
{
    return a.x * b.x + a.y * b.y + a.z * b.z;
}

/// The cross product, by the right-hand rule.
template <class T>
constexpr Vector3<T> cross(const Vector3<T>& a, const Vector3<T>& b)
{
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

/// The Euclidean length; it overflows where the squares do.
template <class T>
T length(const Vector3<T>& a)
{
    return std::sqrt(dot(a, a));
}

/// The vector at unit length, v (1 / |v|); zero for one that has no direction: not longer than `shortest`,
/// not finite, or so long that its square is not.
template <class T>
Vector3<T> unitOrZero(const Vector3<T>& v, T shortest = 0)
{
    const T size = length(v);
    const bool hasDirection = size > shortest && size <= std::numeric_limits<T>::max();
    return hasDirection ? v * (1 / size) : Vector3<T>{0, 0, 0};
}

/// Whether all components are numbers, and not infinite.
template <class T>
bool isFinite(const Vector3<T>& v)
{
    return std::isfinite(v.x) && std::isfinite(v.y) && std::isfinite(v.z);
}

/// The vector's components converted to another type, each as static_cast converts it.
template <class To, class From>
constexpr Vector3<To> convert(const Vector3<From>& v)
{
    return {static_cast<To>(v.x), static_cast<To>(v.y), static_cast<To>(v.z)};
}

}  // namespace tavrix
