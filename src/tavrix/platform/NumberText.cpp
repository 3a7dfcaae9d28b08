#include <tavrix/platform/NumberText.h>

#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstring>
#include <iterator>
#include <limits>
#include <string_view>

#include <tavrix/platform/ByteOrder.h>

namespace tavrix
{

namespace
{

bool isDigit(char c) { return static_cast<unsigned char>(c - '0') < 10; }

/// The value of a hexadecimal digit, or -1.
int hexDigit(char c)
{
    if (isDigit(c)) return c - '0';
    const char lower = static_cast<char>(c | 0x20);
    return 'a' <= lower && lower <= 'f' ? lower - 'a' + 10 : -1;
}

/// The exponent behind its letter, saturated far beyond any that matters. Returns its end, or `first` without
/// digits.
const char* parseExponent(const char* first, const char* last, int64& exponent)
{
    const char* p = first;
    const bool negative = p != last && *p == '-';
    if (p != last && (*p == '-' || *p == '+')) ++p;
    if (p == last || !isDigit(*p)) return first;
    int64 value = 0;
    for (; p != last && isDigit(*p); ++p)
        if (value < 1'000'000'000'000'000) value = value * 10 + (*p - '0');
    exponent = negative ? -value : value;
    return p;
}

/// An unsigned decimal number as it stands in the text: value = mantissa * 10^exponent, as long as it had no
/// more digits than the mantissa can take.
struct Decimal
{
    uint64 mantissa = 0;
    int64 exponent = 0;
    bool exact = true;  ///< no digit other than 0 was left out of the mantissa
    const char* end = nullptr;
};

/// Eight characters as one word, the first in its lowest byte, with digits turned into 0 to 9.
uint64 loadDigits(const char* p)
{
    uint64 bytes;
    std::memcpy(&bytes, p, sizeof bytes);
    if constexpr (std::endian::native == std::endian::big) convertByteOrder(&bytes, 1, ByteOrder::little);
    return bytes ^ 0x3030303030303030;
}

/// A bit for each byte of the word that is no digit, the first character's the lowest: the bytes' top bits,
/// where 0x76 carries into them from 10 on, gathered by one product.
uint32 nonDigits(uint64 word)
{
    const uint64 others = ((word + 0x7676767676767676) | word) & 0x8080808080808080;
    return static_cast<uint32>((others >> 7) * 0x0102040810204080 >> 56);
}

/// The number that the first `count` digits of the word are, 1 to 8: pairs of digits, then pairs of pairs,
/// side by side in one word (Lemire, Number Parsing at a Gigabyte per Second, 2021).
uint64 valueOf(uint64 word, uint32 count)
{
    constexpr uint64 pairs = 0x000000FF000000FF;
    word <<= 64 - 8 * count;
    word = word * 10 + (word >> 8);
    return ((word & pairs) * 0x000F424000000064 + (word >> 16 & pairs) * 0x0000271000000001) >> 32;
}

/// The decimal numbers that most texts are made of, taken at one look: up to seven digits before the point
/// and up to eight behind it. The end of the number, on which the reading of the next one waits, is known
/// before its digits are. False for all others, and where the text ends soon.
bool scanCommonDecimal(const char* first, const char* last, Decimal& number)
{
    static constexpr uint64 powers[] = {1,       10,        100,        1'000,      10'000,
                                        100'000, 1'000'000, 10'000'000, 100'000'000};
    constexpr std::ptrdiff_t reach = 24;
    constexpr uint32 behind = 1u << 16;
    if (last - first < reach) return false;
    const uint64 word = loadDigits(first);
    const uint32 marks = nonDigits(word) | nonDigits(loadDigits(first + 8)) << 8 | behind;
    const auto whole = static_cast<uint32>(std::countr_zero(marks));
    if (whole == 0 || whole >= 8) return false;
    const char* p = first + whole;
    uint64 mantissa = valueOf(word, whole);
    uint32 decimals = 0;
    if (*p == '.')
    {
        const auto end = static_cast<uint32>(std::countr_zero(marks & (marks - 1)));
        decimals = end - whole - 1;
        if (end == 16 || decimals > 8) return false;
        const uint64 fraction = loadDigits(p + 1);
        if (decimals > 0) mantissa = mantissa * powers[decimals] + valueOf(fraction, decimals);
        p = first + end;
    }
    number.mantissa = mantissa;
    number.exponent = -static_cast<int64>(decimals);
    number.end = p;
    if (*p != 'e' && *p != 'E') return true;
    int64 written = 0;
    const char* end = parseExponent(p + 1, last, written);
    if (end == p + 1) return true;
    number.exponent += written;
    number.end = end;
    return true;
}

/// False when the text begins with no decimal number.
bool scanDecimal(const char* first, const char* last, Decimal& number)
{
    constexpr uint64 room = (std::numeric_limits<uint64>::max() - 9) / 10;
    const char* p = first;
    uint64 mantissa = 0;
    int64 exponent = 0;
    const auto take = [&](char c)
    {
        if (mantissa <= room)
        {
            mantissa = mantissa * 10 + static_cast<uint64>(c - '0');
            return true;
        }
        number.exact = number.exact && c == '0';
        return false;
    };
    for (; p != last && isDigit(*p); ++p)
        if (!take(*p)) ++exponent;
    auto digits = p - first;
    if (p != last && *p == '.')
    {
        const char* fraction = ++p;
        for (; p != last && isDigit(*p); ++p)
            if (take(*p)) --exponent;
        digits += p - fraction;
    }
    if (digits == 0) return false;
    if (p != last && (*p == 'e' || *p == 'E'))
    {
        int64 written = 0;
        const char* end = parseExponent(p + 1, last, written);
        if (end != p + 1)
        {
            exponent += written;
            p = end;
        }
    }
    number.mantissa = mantissa;
    number.exponent = exponent;
    number.end = p;
    return true;
}

constexpr int64 maxExactPower = 22;

/// value * 10^exponent with one rounding, for exponents up to maxExactPower either way.
double scaleByExactPower(double value, int64 exponent)
{
    static constexpr double powers[] = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                        1e8,  1e9,  1e10, 1e11, 1e12, 1e13, 1e14, 1e15,
                                        1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};
    return exponent < 0 ? value / powers[-exponent] : value * powers[exponent];
}

/// Clinger's fast path in double precision: with mantissa and power of ten both exact, the one operation on
/// them rounds correctly. Rounding that double to float is correct too, unless it lies half-way between two
/// floats, where the exact number may lie on either side. A half-way point has 25 bits, and its product with
/// 10^12 or less is exact: it shows whether the number is that point. False leaves it to the slow path.
bool convertExactly(const Decimal& number, float& value)
{
    constexpr uint64 belowFloat = (uint64{1} << 29) - 1;
    constexpr uint64 halfWay = uint64{1} << 28;
    if (!number.exact || number.mantissa > (uint64{1} << 53)) return false;
    if (number.mantissa == 0)
    {
        value = 0.0f;
        return true;
    }
    if (number.exponent < -maxExactPower || number.exponent > maxExactPower) return false;
    const auto mantissa = static_cast<double>(number.mantissa);
    const double rounded = scaleByExactPower(mantissa, number.exponent);
    if (rounded < std::numeric_limits<float>::min() || rounded > std::numeric_limits<float>::max())
        return false;
    if ((std::bit_cast<uint64>(rounded) & belowFloat) == halfWay &&
        (number.exponent < -12 || number.exponent > 0 ||
         scaleByExactPower(rounded, -number.exponent) != mantissa))
        return false;
    value = static_cast<float>(rounded);
    return true;
}

/// Whether the number, which begins at `text`, lies below (-1), at (0) or above (1) a point half-way between
/// two floats. Such a point is at most 25 bits times 2^-150, which has 113 decimal digits: they are compared
/// one by one.
int compareWithHalfWay(const char* text, const Decimal& number, double halfWay)
{
    constexpr std::size_t digitCount = 113;
    char written[digitCount + 8];  // d.ddd...e-dd
    const char* const end = std::to_chars(written, written + sizeof written, halfWay,
                                          std::chars_format::scientific, static_cast<int>(digitCount - 1))
                                .ptr;
    written[1] = written[0];
    const char* digit = written + 1;
    const char* const digitsEnd = digit + digitCount;
    int64 halfWayExponent = 0;
    parseExponent(digitsEnd + 1, end, halfWayExponent);

    int64 exponent = number.exponent;
    for (uint64 rest = number.mantissa; rest >= 10; rest /= 10) ++exponent;
    if (exponent != halfWayExponent) return exponent < halfWayExponent ? -1 : 1;
    const char* p = text;
    while (*p == '0' || *p == '.') ++p;
    for (; p != number.end && (isDigit(*p) || *p == '.'); ++p)
    {
        if (*p == '.') continue;
        const char expected = digit != digitsEnd ? *digit++ : '0';
        if (*p != expected) return *p < expected ? -1 : 1;
    }
    return std::all_of(digit, digitsEnd, [](char c) { return c == '0'; }) ? 0 : -1;
}

/// Any decimal number other than zero, which begins at `text`. A few operations in double precision bring it
/// within 2^-51 of its value; where that leaves two floats, the digits decide.
float convertRoughly(const char* text, const Decimal& number)
{
    constexpr double slack = 0x1p-50;
    constexpr float infinity = std::numeric_limits<float>::infinity();
    if (number.exponent > 38) return infinity;
    if (number.exponent < -66) return 0.0f;
    auto value = static_cast<double>(number.mantissa);
    int64 exponent = number.exponent;
    for (; exponent > maxExactPower; exponent -= maxExactPower)
        value = scaleByExactPower(value, maxExactPower);
    for (; exponent < -maxExactPower; exponent += maxExactPower)
        value = scaleByExactPower(value, -maxExactPower);
    value = scaleByExactPower(value, exponent);
    const auto low = static_cast<float>(value - value * slack);
    const auto high = static_cast<float>(value + value * slack);
    if (low == high) return low;

    const double halfWay = high == infinity ? 0x1.FFFFFFp127 : (double{low} + double{high}) / 2;
    const int order = compareWithHalfWay(text, number, halfWay);
    const bool isLowEven = (std::bit_cast<uint32>(low) & 1) == 0;
    return order < 0 || (order == 0 && isLowEven) ? low : high;
}

/// The digits behind "0x". The bits beyond a double's are folded into its last one (rounding to odd), so that
/// the one rounding that counts is the one to float.
const char* parseHexadecimal(const char* first, const char* last, float& value)
{
    constexpr uint64 room = uint64{1} << 49;
    const char* p = first;
    uint64 mantissa = 0;
    int64 exponent = 0;
    bool anyDigit = false;
    bool point = false;
    for (; p != last; ++p)
    {
        if (*p == '.' && !point)
        {
            point = true;
            continue;
        }
        const int digit = hexDigit(*p);
        if (digit < 0) break;
        anyDigit = true;
        if (mantissa < room)
        {
            mantissa = mantissa * 16 + static_cast<uint64>(digit);
            if (point) exponent -= 4;
        }
        else
        {
            if (digit != 0) mantissa |= 1;
            if (!point) exponent += 4;
        }
    }
    if (!anyDigit) return first;
    if (p != last && (*p == 'p' || *p == 'P'))
    {
        int64 written = 0;
        const char* end = parseExponent(p + 1, last, written);
        if (end != p + 1)
        {
            exponent += written;
            p = end;
        }
    }
    exponent = exponent < -3000 ? -3000 : exponent > 3000 ? 3000 : exponent;
    value = static_cast<float>(std::ldexp(static_cast<double>(mantissa), static_cast<int>(exponent)));
    return p;
}

/// The end of the word that the text begins with, in upper or lower case; `first` without it.
const char* skipWord(const char* first, const char* last, std::string_view word)
{
    if (last - first < std::ssize(word)) return first;
    const auto isSame = [](char letter, char c) { return letter == (c | 0x20); };
    return std::equal(word.begin(), word.end(), first, isSame) ? first + word.size() : first;
}

/// "inf", "infinity", "nan" and "nan(payload)".
const char* parseWord(const char* first, const char* last, float& value)
{
    const char* end = skipWord(first, last, "infinity");
    if (end == first) end = skipWord(first, last, "inf");
    if (end != first)
    {
        value = std::numeric_limits<float>::infinity();
        return end;
    }
    end = skipWord(first, last, "nan");
    if (end == first) return first;
    value = std::numeric_limits<float>::quiet_NaN();
    if (end == last || *end != '(') return end;
    const auto isPayload = [](char c)
    { return isDigit(c) || ('a' <= (c | 0x20) && (c | 0x20) <= 'z') || c == '_'; };
    const char* close = std::find_if_not(end + 1, last, isPayload);
    return close != last && *close == ')' ? close + 1 : end;
}

/// A number without its sign.
const char* parseMagnitude(const char* first, const char* last, float& value)
{
    if (last - first > 2 && first[0] == '0' && (first[1] | 0x20) == 'x')
    {
        const char* end = parseHexadecimal(first + 2, last, value);
        if (end != first + 2) return end;
    }
    Decimal number;
    if (!scanCommonDecimal(first, last, number) && !scanDecimal(first, last, number))
        return parseWord(first, last, value);
    if (!convertExactly(number, value)) value = convertRoughly(first, number);
    return number.end;
}

/// The eight digits of a number below 10^8, the first in the lowest byte: halves, pairs, then digits, side by
/// side in one word.
uint64 eightDigits(uint32 value)
{
    constexpr uint64 lowOfHalves = 0x0000007F0000007F, lowOfPairs = 0x000F000F000F000F;
    uint64 word = value / 10000 | uint64{value % 10000} << 32;
    const uint64 hundreds = word * 10486 >> 20 & lowOfHalves;  // a hundredth of each half, exact below 10^4
    word = hundreds | (word - 100 * hundreds) << 16;
    const uint64 tens = word * 103 >> 10 & lowOfPairs;
    return tens | (word - 10 * tens) << 8;
}

/// Writes the word's bytes as digits, eight characters of which `count` count.
char* storeDigits(char* out, uint64 word, uint32 count)
{
    word |= 0x3030303030303030;
    if constexpr (std::endian::native == std::endian::big) convertByteOrder(&word, 1, ByteOrder::little);
    std::memcpy(out, &word, sizeof word);
    return out + count;
}

/// Writes exactly so many digits, 1 to 8, of a number that has no more; touches eight characters.
char* printDigits(char* out, uint32 value, uint32 count)
{
    return storeDigits(out, eightDigits(value) >> (64 - 8 * count), count);
}

#if defined(__SIZEOF_INT128__)

__extension__ using uint128 = unsigned __int128;

/// |value| * 10^6 rounded half to even, exactly. False when the result has more than 64 bits.
bool scaleToMillionths(double value, uint64& millionths)
{
    const auto bits = std::bit_cast<uint64>(value);
    const auto biased = static_cast<int>(bits >> 52 & 0x7FF);
    const uint64 fraction = bits & ((uint64{1} << 52) - 1);
    const uint64 mantissa = biased == 0 ? fraction : fraction | uint64{1} << 52;
    const int shift = 1075 - (biased == 0 ? 1 : biased);
    if (shift < 10) return false;
    if (shift > 74)
    {
        // below 2^73 / 2^75: less than a half
        millionths = 0;
        return true;
    }
    const uint128 scaled = uint128{mantissa} * 1'000'000;
    const auto whole = static_cast<uint64>(scaled >> shift);
    const uint128 rest = scaled & ((uint128{1} << shift) - 1);
    const uint128 half = uint128{1} << (shift - 1);
    millionths = whole + (rest > half || (rest == half && (whole & 1)) ? 1 : 0);
    return true;
}

#else

bool scaleToMillionths(double, uint64&) { return false; }

#endif

/// whole + fraction / 10^decimals, of at most nine digits.
struct ShortDecimal
{
    uint64 whole = 0, fraction = 0;
    uint32 decimals = 0;
};

constexpr uint64 powersOfTen[] = {
    1,         10,         100,         1'000,         10'000,         100'000,
    1'000'000, 10'000'000, 100'000'000, 1'000'000'000, 10'000'000'000, 100'000'000'000};

/// Whether a number is written with a point, or as a whole one, and not with an exponent, which is shorter
/// for a single digit far from the point.
bool hasPoint(const ShortDecimal& number)
{
    constexpr uint64 shorterWithExponent = 100'000;
    if (number.decimals == 0) return number.whole % shorterWithExponent != 0;
    return number.whole > 0 || number.fraction > 9 || number.decimals < 4;
}

/// The shortest decimal number that reads as the float, and of these the nearest to it, for floats of
/// everyday size that are written with a point. An ulp is wider than 10^-p, but not than 10^(1-p), of which
/// one multiple at most reads as the float; if none does, the nearest multiple of 10^-p is it (as in
/// Giulietti, The Schubfach way to render doubles, 2020). False for other floats.
bool findShortest(float value, ShortDecimal& number)
{
    constexpr uint32 implicitBit = 1u << 23;
    const auto bits = std::bit_cast<uint32>(value);
    const uint32 shift = 127 + 23 - (bits >> 23);  // value = mantissa / 2^shift
    if (shift - 1 > 35) return false;              // below 2^-13, or 2^23 and more
    const uint64 mantissa = (bits & (implicitBit - 1)) | implicitBit;
    const uint32 p = (shift * 1233 >> 12) + 1;

    // All in quarters of an ulp. The ends of the range read as the float when its mantissa is even.
    const uint64 middle = 4 * mantissa, odd = mantissa & 1;
    const uint32 quarters = shift + 2;
    const uint64 half = uint64{1} << (quarters - 1);
    const auto readsAsValue = [&](uint64 digits, uint64 power)
    {
        const auto above = static_cast<int64>((digits << quarters) - middle * power);
        const auto upwards = static_cast<int64>(2 * power - odd);
        return above <= upwards && above >= (mantissa == implicitBit ? -static_cast<int64>(power) : -upwards);
    };
    const auto make = [&](uint64 digits, uint32 decimals)
    {
        const auto whole = static_cast<uint64>(value);
        const uint64 fraction = digits - whole * powersOfTen[decimals];
        const bool isRoundedUp = fraction == powersOfTen[decimals];
        number = {isRoundedUp ? whole + 1 : whole, isRoundedUp ? 0 : fraction, decimals};
    };
    const uint64 coarse = powersOfTen[p - 1], nearest = (middle * coarse + half) >> quarters;
    if (readsAsValue(nearest, coarse))
    {
        make(nearest, p - 1);
        if (number.fraction == 0) number.decimals = 0;
        for (; number.decimals > 0 && number.fraction % 10 == 0; --number.decimals) number.fraction /= 10;
        return hasPoint(number);
    }
    const uint64 fine = powersOfTen[p], scaled = middle * fine, rounded = (scaled + half) >> quarters;
    const uint64 isTie = ((scaled + half) & ((uint64{1} << quarters) - 1)) == 0 ? 1 : 0;
    const uint64 digits = rounded - (isTie & rounded);
    make(readsAsValue(digits, fine) ? digits : digits + 1, p);
    return true;
}

/// What stands before the point, a single digit mostly.
char* printWhole(char* out, uint64 value)
{
    if (value >= 10) return printUInt(out, value);
    *out = static_cast<char>('0' + value);
    return out + 1;
}

/// Writes it with a point where it has decimals; touches up to eight characters behind its end.
char* printPoint(char* out, const ShortDecimal& number)
{
    constexpr uint64 eightDigitsEnd = 100'000'000;
    out = printWhole(out, number.whole);
    if (number.decimals == 0) return out;
    *out++ = '.';
    if (number.decimals <= 8) return printDigits(out, static_cast<uint32>(number.fraction), number.decimals);
    out = printDigits(out, static_cast<uint32>(number.fraction / eightDigitsEnd), number.decimals - 8);
    return printDigits(out, static_cast<uint32>(number.fraction % eightDigitsEnd), 8);
}

/// Copies [from, end), at most 16 characters, without a call and without touching others.
char* copyShort(char* out, const char* from, const char* end)
{
    const auto length = static_cast<std::size_t>(end - from);
    const auto copyEnds = [&](std::size_t size)
    {
        std::memcpy(out, from, size);
        std::memcpy(out + length - size, end - size, size);
    };
    if (length >= 8)
        copyEnds(8);
    else if (length >= 4)
        copyEnds(4);
    else
        for (std::size_t n = 0; n < length; ++n) out[n] = from[n];
    return out + length;
}

char* printWord(char* out, const char* word, std::size_t length)
{
    std::memcpy(out, word, length);
    return out + length;
}

}  // namespace

const char* parseFloat(const char* first, const char* last, float& value) noexcept
{
    const char* p = first;
    const bool negative = p != last && *p == '-';
    if (p != last && (*p == '-' || *p == '+')) ++p;
    float magnitude = 0.0f;
    const char* end = parseMagnitude(p, last, magnitude);
    if (end == p) return first;
    value = negative ? -magnitude : magnitude;
    return end;
}

const char* parseInt(const char* first, const char* last, int32& value) noexcept
{
    constexpr int64 limit = int64{1} << 31;
    const char* p = first;
    const bool negative = p != last && *p == '-';
    if (p != last && (*p == '-' || *p == '+')) ++p;
    if (p == last || !isDigit(*p)) return first;
    int64 magnitude = 0;
    for (; p != last && isDigit(*p); ++p)
        if (magnitude <= limit) magnitude = magnitude * 10 + (*p - '0');
    if (negative)
        value = static_cast<int32>(magnitude > limit ? -limit : -magnitude);
    else
        value = static_cast<int32>(magnitude > limit - 1 ? limit - 1 : magnitude);
    return p;
}

char* printUInt(char* out, uint64 value) noexcept
{
    constexpr uint64 eightDigitsEnd = 100'000'000;
    if (value >= eightDigitsEnd)
        return storeDigits(printUInt(out, value / eightDigitsEnd),
                           eightDigits(static_cast<uint32>(value % eightDigitsEnd)), 8);
    const uint64 word = eightDigits(static_cast<uint32>(value));
    const auto zeros = static_cast<uint32>(std::countr_zero(word | uint64{1} << 56)) / 8;
    return storeDigits(out, word >> (8 * zeros), 8 - zeros);
}

char* printFixed6(char* out, double value) noexcept
{
    *out = '-';
    out += std::signbit(value) ? 1 : 0;
    if (std::isnan(value)) return printWord(out, "nan", 3);
    if (std::isinf(value)) return printWord(out, "inf", 3);
    uint64 millionths = 0;
    if (!scaleToMillionths(value, millionths))
        return std::to_chars(out, out + maxFixed6Length, std::fabs(value), std::chars_format::fixed, 6).ptr;
    out = printWhole(out, millionths / 1'000'000);
    *out++ = '.';
    return printDigits(out, static_cast<uint32>(millionths % 1'000'000), 6);
}

char* printFixed(char* out, double value, int decimals) noexcept
{
    if (!std::isfinite(value)) return printFixed6(out, value);
    if (std::signbit(value)) *out++ = '-';
    const int within = std::clamp(decimals, 0, maxFixedDecimals);
    return std::to_chars(out, out + maxFixedLength - 1, std::fabs(value), std::chars_format::fixed, within)
        .ptr;
}

char* printFloat(char* out, float value) noexcept
{
    if (!std::isfinite(value)) return printFixed6(out, static_cast<double>(value));
    const bool isNegative = std::signbit(value);
    if (ShortDecimal number; findShortest(isNegative ? -value : value, number))
    {
        char text[32];
        text[0] = '-';
        const char* const end = printPoint(text + 1, number);
        return copyShort(out, text + (isNegative ? 0 : 1), end);
    }
    return std::to_chars(out, out + maxFloatLength, value).ptr;
}

char* printDouble(char* out, double value) noexcept
{
    if (!std::isfinite(value)) return printFixed6(out, value);
    return std::to_chars(out, out + maxDoubleLength, value).ptr;
}

}  // namespace tavrix
