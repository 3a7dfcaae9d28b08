#pragma once

#include <algorithm>
#include <bit>
#include <cctype>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>

#include <tavrix/platform/NumberText.h>

namespace tavrix::test
{

/// What the C library prints; MinGW spells numbers that are none in its own way, so those are left to tables.
inline std::string printed(const char* format, double value)
{
    char text[400];
    return {text, static_cast<std::size_t>(std::snprintf(text, sizeof text, format, value))};
}

inline std::string fixed6(double value)
{
    char text[maxFixed6Length];
    return {text, printFixed6(text, value)};
}

/// The shortest text of a float, after reading it back.
inline std::string shortest(float value)
{
    char text[maxFloatLength];
    char* const end = printFloat(text, value);
    float back = 0;
    const bool isBack = parseFloat(text, end, back) == end &&
                        (std::isnan(value) || std::bit_cast<uint32>(back) == std::bit_cast<uint32>(value));
    return isBack ? std::string(text, end) : "does not read back";
}

/// Whether there is no number at the start of the text; the C library would skip white space.
inline bool startsBlank(const std::string& text)
{
    return text.empty() || std::isspace(static_cast<unsigned char>(text[0]));
}

/// Whether value, sign and length of the number that the text starts with are strtof's.
inline bool readsAsStrtof(const std::string& text)
{
    const char* const begin = text.c_str();
    float value = -77.0f;
    const char* const end = parseFloat(begin, begin + text.size(), value);
    char* expectedEnd = nullptr;
    const float expected = std::strtof(begin, &expectedEnd);
    if (startsBlank(text) || expectedEnd == begin) return end == begin && value == -77.0f;
    if (std::isnan(expected)) return std::isnan(value) && (end == expectedEnd || *end == '(');  // a payload
    return end == expectedEnd && std::bit_cast<uint32>(value) == std::bit_cast<uint32>(expected);
}

/// Whether the integer that the text starts with is strtoll's, within the limits of 32 bits.
inline bool readsAsStrtoll(const std::string& text)
{
    const char* const begin = text.c_str();
    int32 value = 5;
    const char* const end = parseInt(begin, begin + text.size(), value);
    char* expectedEnd = nullptr;
    const long long expected = std::strtoll(begin, &expectedEnd, 10);
    if (startsBlank(text) || expectedEnd == begin) return end == begin && value == 5;
    return end == expectedEnd && value == std::clamp(expected, -2147483648LL, 2147483647LL);
}

}  // namespace tavrix::test
