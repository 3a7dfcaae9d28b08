#pragma once

#include <limits>

#include <tavrix/foundation/Vector2.h>

namespace tavrix
{

/// An axis-aligned closed rectangle, held as its min corner and its max corner.
template <class T>
struct Box2
{
    /// The corners; a box with a min above its max holds no point.
    /// @{
    Vector2<T> min, max;
    /// @}

    /// The box of no points: min at the largest number, max at the smallest.
    static constexpr Box2 empty()
    {
        constexpr T big = std::numeric_limits<T>::max();
        return {{big, big}, {-big, -big}};
    }

    /// True when it holds no point.
    constexpr bool isEmpty() const { return !(min.x <= max.x && min.y <= max.y); }

    /// True when min <= p <= max on both axes.
    constexpr bool contains(const Vector2<T>& p) const
    {
        return min.x <= p.x && p.x <= max.x && min.y <= p.y && p.y <= max.y;
    }

    /// True when every point of the other box is in this one.
    constexpr bool contains(const Box2& other) const
    {
        return other.isEmpty() || (contains(other.min) && contains(other.max));
    }

    /// Grows the box to hold the point. A coordinate that is not a number leaves its axis as it was.
    constexpr void extend(const Vector2<T>& p)
    {
        if (p.x < min.x) min.x = p.x;
        if (p.x > max.x) max.x = p.x;
        if (p.y < min.y) min.y = p.y;
        if (p.y > max.y) max.y = p.y;
    }

    /// Grows the box to hold the other box; one of no points changes nothing.
    constexpr void extend(const Box2& other)
    {
        if (other.isEmpty()) return;
        extend(other.min);
        extend(other.max);
    }

    /// Equal corners.
    friend constexpr bool operator==(const Box2&, const Box2&) = default;
};

/// A rectangle in double precision.
using Box2D = Box2<double>;
static_assert(sizeof(Box2D) == 32);

}  // namespace tavrix
