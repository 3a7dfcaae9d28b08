#pragma once

#include <bit>
#include <concepts>

#include <tavrix/foundation/detail/BitsOf.h>

namespace tavrix::detail
{

/// Whether two samples are the same to the bit: zeros of either sign differ, and a NaN is itself.
template <class Value>
bool bitwiseEqual(Value a, Value b)
{
    if constexpr (std::floating_point<Value>)
        return std::bit_cast<BitsOf<Value>>(a) == std::bit_cast<BitsOf<Value>>(b);
    else
        return a == b;
}

}  // namespace tavrix::detail
