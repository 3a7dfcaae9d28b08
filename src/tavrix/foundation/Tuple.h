#pragma once

#include <concepts>

#include <tavrix/platform/Types.h>

namespace tavrix
{

/// A plain pair; operator[] when both members have one type.
template <class A, class B>
struct Tuple2
{
    /// The members, by name or by number; a number above 1 counts as 1.
    /// @{
    A a;
    B b;

    constexpr A& operator[](uint32 i) requires std::same_as<A, B> { return i == 0 ? a : b; }
    constexpr const A& operator[](uint32 i) const requires std::same_as<A, B> { return i == 0 ? a : b; }

    friend constexpr bool operator==(const Tuple2&, const Tuple2&) = default;
    /// @}
};

/// A plain triple; operator[] when the members have one type.
template <class A, class B, class C>
struct Tuple3
{
    /// The members, by name or by number; a number above 2 counts as 2.
    /// @{
    A a;
    B b;
    C c;

    constexpr A& operator[](uint32 i) requires(std::same_as<A, B>&& std::same_as<B, C>)
    {
        return i == 0 ? a : i == 1 ? b : c;
    }
    constexpr const A& operator[](uint32 i) const requires(std::same_as<A, B>&& std::same_as<B, C>)
    {
        return i == 0 ? a : i == 1 ? b : c;
    }

    friend constexpr bool operator==(const Tuple3&, const Tuple3&) = default;
    /// @}
};

/// A grid index triple (i, j, k), or the three corners of a face.
using Index3 = Tuple3<uint32, uint32, uint32>;

/// The index triple that means "no cell".
inline constexpr Index3 noCell{noIndex, noIndex, noIndex};

static_assert(sizeof(Tuple2<uint32, uint32>) == 8 && sizeof(Index3) == 12);

}  // namespace tavrix
