#pragma once

#include <array>
#include <concepts>
#include <limits>

#include <tavrix/foundation/Vector3.h>

namespace tavrix
{

/// An axis-aligned closed box, held as its min corner and its max corner.
template <class T>
struct Box3
{
    /// The corners; a box with a min above its max holds no point.
    /// @{
    Vector3<T> min, max;
    /// @}

    /// The box of no points: min at the largest number, max at the smallest.
    static constexpr Box3 empty()
    {
        constexpr T big = std::numeric_limits<T>::max();
        return {{big, big, big}, {-big, -big, -big}};
    }

    /// True when it holds no point: min above max, or not a number, on some axis.
    constexpr bool isEmpty() const { return !(min.x <= max.x && min.y <= max.y && min.z <= max.z); }

    /// True when min <= p <= max on every axis.
    constexpr bool contains(const Vector3<T>& p) const
    {
        return min.x <= p.x && p.x <= max.x && min.y <= p.y && p.y <= max.y && min.z <= p.z && p.z <= max.z;
    }

    /// Grows the box to hold the point. A coordinate that is not a number leaves its axis as it was.
    constexpr void extend(const Vector3<T>& p)
    {
        for (uint32 axis = 0; axis < 3; ++axis)
        {
            if (p[axis] < min[axis]) min[axis] = p[axis];
            if (p[axis] > max[axis]) max[axis] = p[axis];
        }
    }

    /// Grows the box to hold the other box; one of no points changes nothing. A template, so that
    /// extend({x, y, z}) means a point.
    template <std::same_as<Box3> Other>
    constexpr void extend(const Other& other)
    {
        for (uint32 axis = 0; axis < 3; ++axis)
        {
            if (other.min[axis] < min[axis]) min[axis] = other.min[axis];
            if (other.max[axis] > max[axis]) max[axis] = other.max[axis];
        }
    }

    /// The box with every side moved outwards.
    constexpr Box3 widened(T by) const
    {
        const Vector3<T> diagonal{by, by, by};
        return {min - diagonal, max + diagonal};
    }

    /// (min + max) / 2.
    constexpr Vector3<T> center() const { return (min + max) * (T(1) / T(2)); }

    /// Equal corners.
    friend constexpr bool operator==(const Box3&, const Box3&) = default;
};

/// The smallest box around points, in double precision; Box3::empty() around none. Coordinates that are not
/// numbers do not count.
template <class Points>
constexpr Box3<double> boxAround(const Points& points)
{
    Box3<double> box = Box3<double>::empty();
    for (const auto& p : points) box.extend(convert<double>(p));
    return box;
}

/// A box in single or double precision.
/// @{
using Box3F = Box3<float>;
using Box3D = Box3<double>;
/// @}
static_assert(sizeof(Box3F) == 24 && sizeof(Box3D) == 48);

/// The eight corners of a box in the order of the cell corners of the surface extractor: around the low z
/// face (0,0), (1,0), (1,1), (0,1) in (x, y), then the same around the high z face.
template <class T>
struct Box3Points
{
    /// The corners in that order.
    std::array<Vector3<T>, 8> points;

    /// Computes the corners.
    explicit constexpr Box3Points(const Box3<T>& box)
    {
        for (uint32 c = 0; c < 8; ++c)
        {
            const bool highX = (c & 3) == 1 || (c & 3) == 2;
            const bool highY = (c & 3) >= 2;
            points[c] = {highX ? box.max.x : box.min.x, highY ? box.max.y : box.min.y,
                         c >= 4 ? box.max.z : box.min.z};
        }
    }
};

/// The eight corners of a box in binary order: corner c takes max x when bit 0 of c is set, max y for bit 1,
/// max z for bit 2.
template <class T>
struct Box3Points_ex
{
    /// The corners in that order.
    std::array<Vector3<T>, 8> points;

    /// Computes the corners.
    explicit constexpr Box3Points_ex(const Box3<T>& box)
    {
        for (uint32 c = 0; c < 8; ++c)
            points[c] = {c & 1 ? box.max.x : box.min.x, c & 2 ? box.max.y : box.min.y,
                         c & 4 ? box.max.z : box.min.z};
    }
};

}  // namespace tavrix
