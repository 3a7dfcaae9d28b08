#include <algorithm>
#include <bit>
#include <clocale>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include <tavrix/platform/NumberText.h>
#include <tavrix/platform/TX_Tokenizer.h>

namespace tavrix
{

namespace
{

std::string fixed6(double value)
{
    char text[maxFixed6Length];
    return {text, printFixed6(text, value)};
}

/// What the C library prints; MinGW spells numbers that are none in its own way, so those are left to the
/// tables.
std::string printed(const char* format, double value)
{
    char text[400];
    return {text, static_cast<std::size_t>(std::snprintf(text, sizeof text, format, value))};
}

/// Compares value, sign and length of the number read with strtof's: at the end of the text, and with more
/// behind it, where other paths are taken.
::testing::AssertionResult readsAsStrtof(const std::string& number)
{
    for (const char* behind : {"", ";123456789 123456789", "x00000000000000000000"})
    {
        const std::string text = number + behind;
        float value = -77.0f;
        const char* begin = text.c_str();
        const char* end = parseFloat(begin, begin + text.size(), value);
        char* expectedEnd = nullptr;
        float expected = std::strtof(begin, &expectedEnd);
        if (expectedEnd == begin) expected = -77.0f;
        const bool same = std::isnan(expected)
                              ? std::isnan(value)
                              : std::bit_cast<uint32>(value) == std::bit_cast<uint32>(expected);
        if (same && end == expectedEnd) continue;
        return ::testing::AssertionFailure()
               << '"' << text << "\" read as " << value << ", " << end - begin
               << " characters; strtof: " << expected << ", " << expectedEnd - begin;
    }
    return ::testing::AssertionSuccess();
}

}  // namespace

TEST(NumberText, PrintsTheDigitsOfPrintf)
{
    std::mt19937_64 random(1);
    for (int i = 0; i < 300'000; ++i)
    {
        const auto anyBits = std::bit_cast<double>(random());
        if (std::isfinite(anyBits) && i % 16 == 0) { ASSERT_EQ(fixed6(anyBits), printed("%f", anyBits)); }
        // magnitudes that meshes have, with every number of bits behind the point
        const double mesh = std::ldexp(static_cast<double>(random() >> 11), -static_cast<int>(random() % 80));
        ASSERT_EQ(fixed6(mesh), printed("%f", mesh));
        const double single = std::bit_cast<float>(static_cast<uint32>(random() % 0x50000000));
        ASSERT_EQ(fixed6(-single), printed("%f", -single));
    }
}

TEST(NumberText, RoundsHalvesToEvenAndSpellsTheRest)
{
    for (const double v : {0.0, -0.0, 1.5e-6, 1.0, 5e-7, 6e-7, -1e-300, 5e-324, 0.9999995, 9.9999996, 2e13,
                           1e22, 9007199254740993.0, 8796093022208.5})
        EXPECT_EQ(fixed6(v), printed("%f", v));
    const double infinity = std::numeric_limits<double>::infinity(), nan = std::nan("");
    const std::pair<double, const char*> rows[] = {{0.0078125, "0.007812"},
                                                   {0.0234375, "0.023438"},
                                                   {infinity, "inf"},
                                                   {-infinity, "-inf"},
                                                   {nan, "nan"},
                                                   {std::copysign(nan, -1.0), "-nan"}};
    for (const auto& [value, text] : rows) EXPECT_EQ(fixed6(value), text);
    EXPECT_EQ(fixed6(-std::numeric_limits<double>::max()).size(), maxFixed6Length);
}

TEST(NumberText, ReadsFloatsBackAtEveryPrecision)
{
    std::mt19937_64 random(2);
    const char* const formats[] = {"%.9g", "%.6f", "%.17g", "%g", "%.8e", "%.3f", "%a", "%.25g"};
    char text[400];
    for (int i = 0; i < 400'000; ++i)
    {
        const auto value = std::bit_cast<float>(static_cast<uint32>(random()));
        if (!std::isfinite(value)) continue;
        std::snprintf(text, sizeof text, formats[i % 8], static_cast<double>(value));
        ASSERT_TRUE(readsAsStrtof(text));
    }
}

// Half-way cases between two floats, and their neighbours by one digit far behind, decide the rounding.
TEST(NumberText, ReadsHalfWayCasesExactly)
{
    std::mt19937_64 random(3);
    char text[400];
    for (int i = 0; i < 50'000; ++i)
    {
        const auto low = std::bit_cast<float>(static_cast<uint32>(random() % 0x7F000000));
        const float high = std::nextafter(low, std::numeric_limits<float>::infinity());
        const double middle = (static_cast<double>(low) + static_cast<double>(high)) / 2;
        const int length = std::snprintf(text, sizeof text, "%.*f", i % 3 == 0 ? 160 : i % 20, middle);
        ASSERT_TRUE(readsAsStrtof(text));
        text[length - 1] = static_cast<char>(text[length - 1] == '9' ? '8' : text[length - 1] + 1);
        ASSERT_TRUE(readsAsStrtof(text));
        std::snprintf(text, sizeof text, "%a", middle);
        ASSERT_TRUE(readsAsStrtof(text));
    }
}

TEST(NumberText, ReadsTheUnusualAsStrtof)
{
    TX_Tokenizer words(
        "1e 1e+ 1e+x 0x 0xg 0x.8 0x1.8p 0x1.8p1.5 0X1P-200 0x1p99999999999999999999 0x1.000001p0 "
        "0x1.000003p0 0x1.00000100000000000000001p0 0x123456789abcdef0123p-80 inf -INFINITY infi in "
        "NaN +5 +-5 --5 - + . .e5 5. -.5 1.e3 1e400 -1e400 1e-400 -1e-400 1e99999999999999999999 "
        "1e-99999999999999999999 0e999 3.4028235677973366e38 3.4028235e38 7e-46 7.1e-46 "
        "1.1754942e-38 1.5.5 1,5 abc 9007199254740993 16777217.0000000001 16777217 ");
    EXPECT_TRUE(readsAsStrtof(""));
    for (auto word = words.readNextToken(); !word.empty(); word = words.readNextToken())
        EXPECT_TRUE(readsAsStrtof(std::string(word)));
    const std::string zeros(400, '0');
    for (const std::string& text : {"1" + zeros, "0." + zeros + "1", zeros + "1", "1." + zeros + "1",
                                    "0." + zeros + "1e401", "1" + zeros + "e-400"})
        EXPECT_TRUE(readsAsStrtof(text));
}

TEST(NumberText, StopsAtTheEndItIsGiven)
{
    const char text[] = "12345e5", blank[] = " 1";
    float value = 0;
    EXPECT_EQ(parseFloat(blank, blank + 2, value), blank) << "nothing is skipped";
    EXPECT_EQ(parseFloat(text, text + 3, value), text + 3);
    EXPECT_EQ(value, 123.0f);
    EXPECT_EQ(parseFloat(text, text + 6, value), text + 5);
    EXPECT_EQ(value, 12345.0f);
    EXPECT_EQ(parseFloat(text, text, value), text);
    int32 number = 0;
    EXPECT_EQ(parseInt(text, text + 2, number), text + 2);
    EXPECT_EQ(number, 12);
}

TEST(NumberText, ReadsIntegersAndSaturates)
{
    for (const char* text : {"0", "-17/3", "+4", "2147483647", "2147483648", "-2147483648", "007", "-", "",
                             "x", "-99999999999999999999999", "99999999999999999999999"})
    {
        int32 value = 5;
        char* end = nullptr;
        const long long expected = std::clamp(std::strtoll(text, &end, 10), -2147483648LL, 2147483647LL);
        EXPECT_EQ(parseInt(text, text + std::strlen(text), value), end) << text;
        EXPECT_EQ(value, end == text ? 5 : expected) << text;
    }
}

TEST(NumberText, PrintsTheShortestTextOfAFloat)
{
    constexpr float infinity = std::numeric_limits<float>::infinity();
    constexpr float nan = std::numeric_limits<float>::quiet_NaN();
    const std::pair<float, const char*> rows[] = {{0.0f, "0"},
                                                  {-0.0f, "-0"},
                                                  {0.1f, "0.1"},
                                                  {-2.5f, "-2.5"},
                                                  {1e10f, "1e+10"},
                                                  {1e-7f, "1e-07"},
                                                  {infinity, "inf"},
                                                  {-infinity, "-inf"},
                                                  {nan, "nan"},
                                                  {-nan, "-nan"},
                                                  {16777216.0f, "16777216"},
                                                  {-std::numeric_limits<float>::min(), "-1.1754944e-38"}};
    char text[maxFloatLength];
    for (const auto& [value, expected] : rows)
        EXPECT_EQ(std::string(text, printFloat(text, value)), expected);
}

TEST(NumberText, KnowsNoLocale)
{
    bool found = false;
    for (const char* name : {"de_DE.UTF-8", "de_DE.utf8", "fr_FR.UTF-8", "German_Germany.1252", "de-DE"})
        found = found || std::setlocale(LC_ALL, name) != nullptr;
    if (!found) GTEST_SKIP() << "no locale with a decimal comma on this system";
    float value = 0;
    const char text[] = "2.5,5";
    const char* end = parseFloat(text, text + 5, value);
    const std::string large = fixed6(1e25);
    const std::string small = fixed6(2.5);
    std::setlocale(LC_ALL, "C");
    EXPECT_EQ(end, text + 3);
    EXPECT_EQ(value, 2.5f);
    EXPECT_EQ(large, "10000000000000000905969664.000000");
    EXPECT_EQ(small, "2.500000");
}

TEST(TX_Tokenizer, CutsAtSeparatorsOnly)
{
    TX_Tokenizer words(" \t f 1/2\v3 \r\n");
    EXPECT_EQ(words.readNextToken(), "f");
    EXPECT_EQ(words.readNextToken(), "1/2");
    EXPECT_EQ(words.rest(), "\v3 \r\n");
    EXPECT_EQ(words.readNextToken(), "3");
    EXPECT_TRUE(words.readNextToken().empty());
    EXPECT_TRUE(words.readNextToken().empty());
    EXPECT_TRUE(TX_Tokenizer("").readNextToken().empty());

    TX_Tokenizer fields("a,,b c", ",");
    EXPECT_EQ(fields.readNextToken(), "a");
    EXPECT_EQ(fields.readNextToken(), "b c");
}

}  // namespace tavrix
