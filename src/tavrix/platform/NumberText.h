#pragma once

#include <cstddef>

#include <tavrix/platform/Export.h>
#include <tavrix/platform/Types.h>

namespace tavrix
{

/// Numbers as text in the "C" locale, whatever the locale of the process is, to the same values and digits as
/// the standard library's formatted input and output, and several times faster.

/// Reads the number that the text [first, last) begins with, as std::strtof would without its leading white
/// space: decimal or hexadecimal with an optional sign, fraction and exponent, "inf", "infinity", "nan", in
/// upper or lower case. The result is the nearest float, an infinity when the number is too large. Returns
/// the end of the longest part that is a number; `first`, with the value unchanged, when there is none.
TX_GEOMETRY_API const char* parseFloat(const char* first, const char* last, float& value) noexcept;

/// Reads a decimal integer with an optional sign that the text [first, last) begins with. Numbers outside 32
/// bits give the nearest limit. Returns the end of the number; `first`, with the value unchanged, when there
/// is none.
TX_GEOMETRY_API const char* parseInt(const char* first, const char* last, int32& value) noexcept;

/// The most characters that printFixed6 writes: sign, 309 digits, point, 6 digits.
inline constexpr std::size_t maxFixed6Length = 317;

/// Writes what printf's "%f" gives: six decimals, the exact binary value rounded half to even; "inf" and
/// "nan" with their signs. Returns the end of the text, which is not closed by a zero byte. `out` has room
/// for maxFixed6Length characters.
TX_GEOMETRY_API char* printFixed6(char* out, double value) noexcept;

/// The most characters that printFixed writes, and the most decimals.
/// @{
inline constexpr std::size_t maxFixedLength = 328;
inline constexpr int maxFixedDecimals = 17;
/// @}

/// The same with another number of decimals; one outside [0, 17] counts as the nearest limit. `out` has room
/// for maxFixedLength characters.
TX_GEOMETRY_API char* printFixed(char* out, double value, int decimals) noexcept;

/// The most characters that printFloat writes: "-1.17549435e-38".
inline constexpr std::size_t maxFloatLength = 15;

/// Writes the shortest text that reads back as the same float, in fixed or scientific form, whichever is
/// shorter; "inf" and "nan" with their signs. Returns the end of the text, which is not closed by a zero
/// byte. `out` has room for maxFloatLength characters.
TX_GEOMETRY_API char* printFloat(char* out, float value) noexcept;

/// The most characters that printDouble writes: "-2.2250738585072014e-308".
inline constexpr std::size_t maxDoubleLength = 24;

/// The same as printFloat, in double precision. `out` has room for maxDoubleLength characters.
TX_GEOMETRY_API char* printDouble(char* out, double value) noexcept;

/// The most characters that printUInt writes.
inline constexpr std::size_t maxUIntLength = 20;

/// Writes the decimal digits of the number and returns their end. `out` has room for maxUIntLength
/// characters.
TX_GEOMETRY_API char* printUInt(char* out, uint64 value) noexcept;

}  // namespace tavrix
