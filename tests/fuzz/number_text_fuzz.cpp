#include <cctype>
#include <cmath>

#include "Fuzz.h"

using namespace tavrix;

namespace
{

template <class T>
bool sameBits(T a, T b)
{
    return std::memcmp(&a, &b, sizeof a) == 0;
}

/// Reads as the standard library does; it stops at zero bytes, and it skips white space and knows payloads of
/// NaNs.
void read(const std::string& text)
{
    const char* const first = text.c_str();
    const char* const last = first + text.size();
    float value = -7;
    const char* const end = parseFloat(first, last, value);
    char* expectedEnd = nullptr;
    const float expected = std::strtof(first, &expectedEnd);
    if (text.empty() || std::isspace(static_cast<unsigned char>(text[0])))
        fuzz::require(end == first && value == -7, "no number behind white space");
    else if (std::isnan(expected))
        fuzz::require(std::isnan(value) && end <= expectedEnd, "not a number");
    else
        fuzz::require(end == expectedEnd && sameBits(value, end == first ? -7 : expected), "a number read");

    int32 integer = -7;
    const char* const integerEnd = parseInt(first, last, integer);
    char* expectedIntegerEnd = nullptr;
    const long expectedInteger =
        std::min(std::max(std::strtol(first, &expectedIntegerEnd, 10), -2147483648L), 2147483647L);
    if (text.empty() || std::isspace(static_cast<unsigned char>(text[0]))) return;
    fuzz::require(integerEnd == expectedIntegerEnd, "the end of an integer");
    fuzz::require(integerEnd == first || integer == expectedInteger, "an integer read");
}

void print(double number)
{
    char buffer[maxFixed6Length], expected[maxFixed6Length + 8];
    const std::string_view text(buffer, static_cast<std::size_t>(printFixed6(buffer, number) - buffer));
    std::snprintf(expected, sizeof expected, "%f", number);
    fuzz::require(text == expected, "six decimals");
}

void print(float number)
{
    char buffer[maxFloatLength];
    const char* const end = printFloat(buffer, number);
    float back = 0;
    fuzz::require(parseFloat(buffer, end, back) == end, "the end of a printed number");
    fuzz::require(sameBits(back, number) || std::isnan(number), "a number that reads back");
}

void print(uint64 number)
{
    char buffer[maxUIntLength];
    const std::string_view text(buffer, static_cast<std::size_t>(printUInt(buffer, number) - buffer));
    fuzz::require(text == std::to_string(number), "digits");
}

}  // namespace

// The bytes as text, as float, as double and as integer, each against the standard library.
int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size)
{
    read(std::string(reinterpret_cast<const char*>(data), size));
    unsigned char bytes[8] = {};
    if (size > 0) std::memcpy(bytes, data, std::min<std::size_t>(size, sizeof bytes));
    float single;
    double number;
    uint64 integer;
    std::memcpy(&single, bytes, sizeof single);
    std::memcpy(&number, bytes, sizeof number);
    std::memcpy(&integer, bytes, sizeof integer);
    print(single);
    print(number);
    print(integer);
    return 0;
}
