#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <type_traits>

#include <tavrix/platform/Export.h>
#include <tavrix/platform/Types.h>

namespace tavrix
{

/// The order of a number's bytes in a file.
enum class ByteOrder
{
    little,
    big
};

/// The order in which this machine keeps numbers.
inline constexpr ByteOrder machineByteOrder =
    std::endian::native == std::endian::little ? ByteOrder::little : ByteOrder::big;

/// Turns plain numbers in place from one byte order to the other; nothing happens when `order` is the
/// machine's.
template <class Number>
void convertByteOrder(Number* values, std::size_t count, ByteOrder order) noexcept
{
    static_assert(std::is_arithmetic_v<Number>);
    if (order == machineByteOrder) return;
    for (std::size_t i = 0; i < count; ++i)
    {
        unsigned char bytes[sizeof(Number)];
        std::memcpy(bytes, values + i, sizeof bytes);
        std::reverse(bytes, bytes + sizeof bytes);
        std::memcpy(values + i, bytes, sizeof bytes);
    }
}

/// Numbers on a C stream in a stated byte order: `count` 32-bit unsigned integers or 64-bit IEEE
/// floating-point numbers at the stream's present position. Each returns how many whole numbers it moved,
/// fewer than `count` only at the end of the file or on a failure; values that were not read keep what they
/// held.
/// @{
TX_GEOMETRY_API uint32 ReadUInt(uint32* values, uint32 count, std::FILE* file,
                                ByteOrder order = ByteOrder::little);
TX_GEOMETRY_API uint32 WriteUInt(const uint32* values, uint32 count, std::FILE* file,
                                 ByteOrder order = ByteOrder::little);
TX_GEOMETRY_API uint32 ReadDouble(double* values, uint32 count, std::FILE* file,
                                  ByteOrder order = ByteOrder::little);
TX_GEOMETRY_API uint32 WriteDouble(const double* values, uint32 count, std::FILE* file,
                                   ByteOrder order = ByteOrder::little);
/// @}

}  // namespace tavrix
