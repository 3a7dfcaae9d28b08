#pragma once

#include <cstdint>
#include <limits>

/// The library: all of it is in this namespace, `detail` aside, which is nobody else's business.
namespace tavrix
{

/// Integers of that many bits.
/// @{
using uint8 = std::uint8_t;
using uint16 = std::uint16_t;
using uint32 = std::uint32_t;
using uint64 = std::uint64_t;
using int16 = std::int16_t;
using int32 = std::int32_t;
using int64 = std::int64_t;
/// @}

/// Selects the checked overload of an operation.
struct TX_SAFE
{
};

/// The end position of an iterator.
struct TX_END
{
};

/// The non-owning policy of ArrayOfPtr.
struct TX_NO
{
};

/// An index, id or handle that means "none".
inline constexpr uint32 noIndex = 0xFFFFFFFFu;

/// The value of a failed evaluation, and the start of every minimum search: the largest single-precision
/// number.
inline constexpr float farValue = std::numeric_limits<float>::max();

}  // namespace tavrix
