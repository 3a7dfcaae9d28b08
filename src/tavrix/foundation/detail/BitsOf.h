#pragma once

#include <type_traits>

#include <tavrix/platform/Types.h>

namespace tavrix::detail
{

/// The unsigned integer that is as wide as a number of 32 or 64 bits.
template <class T>
using BitsOf = std::conditional_t<sizeof(T) == sizeof(uint32), uint32, uint64>;

}  // namespace tavrix::detail
