#pragma once

#include <tavrix/platform/Types.h>

namespace tavrix
{

/// A colour: red, green, blue and alpha, each in [0, 1]. A plain aggregate: a fresh array of them is not
/// initialised.
template <class T>
struct Color4
{
    /// The components; nothing keeps them in range.
    /// @{
    T r, g, b, a;

    friend constexpr bool operator==(const Color4&, const Color4&) = default;
    /// @}
};

/// A colour in single precision.
using Color4F = Color4<float>;
static_assert(sizeof(Color4F) == 16);

}  // namespace tavrix
