#pragma once

#include <cmath>

#include <tavrix/platform/Types.h>

namespace tavrix
{

/// Two components. A plain aggregate: a fresh array of them is not initialised.
template <class T>
struct Vector2
{
    /// The components, and arithmetic on them one by one.
    /// @{
    T x, y;

    friend constexpr Vector2 operator+(Vector2 a, Vector2 b) { return {a.x + b.x, a.y + b.y}; }
    friend constexpr Vector2 operator-(Vector2 a, Vector2 b) { return {a.x - b.x, a.y - b.y}; }
    friend constexpr Vector2 operator*(Vector2 a, T s) { return {a.x * s, a.y * s}; }
    friend constexpr Vector2 operator*(T s, Vector2 a) { return a * s; }
    friend constexpr bool operator==(const Vector2&, const Vector2&) = default;
    /// @}
};

/// a.x b.x + a.y b.y.
template <class T>
constexpr T dot(const Vector2<T>& a, const Vector2<T>& b)
{
    return a.x * b.x + a.y * b.y;
}

/// The Euclidean length; it overflows where the squares do.
template <class T>
T length(const Vector2<T>& a)
{
    return std::sqrt(dot(a, a));
}

/// Vectors of two components in single or double precision.
/// @{
using Vector2F = Vector2<float>;
using Vector2D = Vector2<double>;
/// @}
static_assert(sizeof(Vector2F) == 8 && sizeof(Vector2D) == 16);

}  // namespace tavrix
