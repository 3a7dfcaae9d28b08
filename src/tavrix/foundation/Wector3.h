#pragma once

#include <tavrix/platform/Types.h>

namespace tavrix
{

/// A 3-vector stored in four numbers; the fourth is free for a value that travels with it (a face normal's
/// area).
template <class T>
struct Wector3
{
    /// The vector, and the number that travels with it.
    /// @{
    T x, y, z, w;

    friend constexpr bool operator==(const Wector3&, const Wector3&) = default;
    /// @}
};

/// Four numbers in single precision.
using Wector3F = Wector3<float>;
static_assert(sizeof(Wector3F) == 16);

}  // namespace tavrix
