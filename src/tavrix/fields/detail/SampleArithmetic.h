#pragma once

#include <cmath>
#include <concepts>
#include <limits>
#include <type_traits>

#include <tavrix/platform/Types.h>

// Arithmetic of samples: floating-point values as they stand, integers modulo the range of their type, where
// C++ would promote them or leave an overflow undefined.

namespace tavrix::detail
{

template <class Value>
constexpr Value sumOf(Value a, Value b)
{
    if constexpr (std::integral<Value>)
        return static_cast<Value>(static_cast<uint64>(a) + static_cast<uint64>(b));
    else
        return a + b;
}

template <class Value>
constexpr Value differenceOf(Value a, Value b)
{
    if constexpr (std::integral<Value>)
        return static_cast<Value>(static_cast<uint64>(a) - static_cast<uint64>(b));
    else
        return a - b;
}

template <class Value>
constexpr Value productOf(Value a, Value b)
{
    if constexpr (std::integral<Value>)
        return static_cast<Value>(static_cast<uint64>(a) * static_cast<uint64>(b));
    else
        return a * b;
}

template <class Value>
Value magnitudeOf(Value v)
{
    if constexpr (std::floating_point<Value>)
        return std::fabs(v);
    else if constexpr (std::signed_integral<Value>)
        return v < 0 ? differenceOf(Value(0), v) : v;
    else
        return v;
}

template <class Value>
bool isFiniteSample(Value v)
{
    if constexpr (std::floating_point<Value>)
        return std::isfinite(v);
    else
        return true;
}

/// A real number as an integer sample: truncated, kept in the type's range, 0 for what is not a number.
template <std::integral Value>
constexpr Value truncatedSample(double v)
{
    constexpr auto low = std::numeric_limits<Value>::lowest(), high = std::numeric_limits<Value>::max();
    if (!(v > static_cast<double>(low))) return v == v ? low : Value(0);
    return v < static_cast<double>(high) ? static_cast<Value>(v) : high;
}

/// (b - a) t + a. Integers are computed in double precision and truncated.
template <class Value>
constexpr Value mixOf(Value a, Value b, double t)
{
    if constexpr (std::integral<Value>)
        return truncatedSample<Value>((static_cast<double>(b) - static_cast<double>(a)) * t +
                                      static_cast<double>(a));
    else
        return (b - a) * static_cast<Value>(t) + a;
}

/// The share of a sample that a weight from 0 to 1 gives.
template <class Value>
constexpr Value shareOf(Value v, double weight)
{
    if constexpr (std::integral<Value>)
        return truncatedSample<Value>(static_cast<double>(v) * weight);
    else
        return v * static_cast<Value>(weight);
}

/// What many samples are summed in: floating-point values in their own type, integers in 64 bits.
template <class Value>
using SampleSum = std::conditional_t<std::floating_point<Value>, Value,
                                     std::conditional_t<std::signed_integral<Value>, int64, uint64>>;

/// Where the searches for extremes begin.
template <class Value>
inline constexpr Value startOfMin = std::floating_point<Value> ? static_cast<Value>(farValue)
                                                               : std::numeric_limits<Value>::max();
template <class Value>
inline constexpr Value startOfMax = std::floating_point<Value> ? -static_cast<Value>(farValue)
                                                               : std::numeric_limits<Value>::lowest();

}  // namespace tavrix::detail
