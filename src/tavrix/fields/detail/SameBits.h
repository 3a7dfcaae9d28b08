#pragma once

#include <bit>
#include <concepts>
#include <type_traits>

#include <tavrix/platform/Types.h>

namespace tavrix::detail
{

/// Whether two samples are the same to the bit: zeros of either sign differ, and a NaN is itself.
template <class Value>
bool sameBits(Value a, Value b)
{
    if constexpr (std::floating_point<Value>)
    {
        using Bits = std::conditional_t<sizeof(Value) == 4, uint32, uint64>;
        return std::bit_cast<Bits>(a) == std::bit_cast<Bits>(b);
    }
    else
        return a == b;
}

}  // namespace tavrix::detail
