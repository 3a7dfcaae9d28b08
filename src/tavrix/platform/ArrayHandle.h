#pragma once

#include <tavrix/platform/Types.h>

namespace tavrix
{

/// Names one array of the array store (TX_ArrayServer). A plain 32-bit value that owns nothing; all ones
/// means none.
struct ArrayHandle
{
    /// The number itself; handles are equal when their numbers are.
    /// @{
    uint32 value = noIndex;

    constexpr bool isNone() const { return value == noIndex; }

    friend constexpr bool operator==(const ArrayHandle&, const ArrayHandle&) = default;
    /// @}
};

static_assert(sizeof(ArrayHandle) == 4);

}  // namespace tavrix
