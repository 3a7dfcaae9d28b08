#include <bit>
#include <charconv>
#include <clocale>
#include <limits>
#include <random>

#include <gtest/gtest.h>

#include <tavrix/platform/TX_Tokenizer.h>

#include "platform/NumberOracle.h"

using namespace tavrix;
using test::fixed6;
using test::printed;

/// At the end of the text, and with more behind it, where other paths are taken.
static void expectAsStrtof(const std::string& number)
{
    for (const char* behind : {"", ";123456789 123456789", "x00000000000000000000"})
        ASSERT_TRUE(test::readsAsStrtof(number + behind)) << number << behind;
}

TEST(NumberText, PrintsTheDigitsOfPrintfAndSpellsTheRest)
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
    for (const double v : {0.0, -0.0, 1.5e-6, 5e-7, 6e-7, -1e-300, 5e-324, 0.9999995, 9.9999996, 2e13, 1e22,
                           9007199254740993.0, 8796093022208.5})
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

// Also half-way cases between two floats, and their neighbours by one digit far behind, which decide the
// rounding.
TEST(NumberText, ReadsFloatsAtEveryPrecisionAndHalfWayCasesExactly)
{
    std::mt19937_64 random(3);
    const char* const formats[] = {"%.9g", "%.6f", "%.17g", "%g", "%.8e", "%.3f", "%a", "%.25g"};
    for (int i = 0; i < 400'000; ++i)
    {
        const auto value = std::bit_cast<float>(static_cast<uint32>(random()));
        if (!std::isfinite(value)) continue;
        expectAsStrtof(printed(formats[i % 8], value));
        if (i % 8 > 0) continue;
        const float next = std::nextafter(value, std::numeric_limits<float>::max());
        const double middle = (double{value} + double{next}) / 2;
        const char* const precisions[] = {"%.160f", "%.3f", "%.10f", "%.17f"};
        std::string text = printed(precisions[i / 8 % 4], middle);
        expectAsStrtof(text);
        text.back() = static_cast<char>(text.back() == '9' ? '8' : text.back() + 1);
        expectAsStrtof(text);
        expectAsStrtof(printed("%a", middle));
    }
}

TEST(NumberText, ReadsTheUnusualAsStrtof)
{
    TX_Tokenizer words(
        "1e 1e+ 1e+x 0x 0xg 0x.8 0x1.8p 0x1.8p1.5 0X1P-200 0x1p99999999999999999999 0x1.000001p0 "
        "0x1.000003p0 0x1.00000100000000000000001p0 0x123456789abcdef0123p-80 inf -INFINITY infi in "
        "NaN +5 +-5 --5 - + . .e5 5. -.5 1.e3 1e400 -1e400 1e-400 -1e-400 1e99999999999999999999 "
        "1e-99999999999999999999 0e999 3.4028235677973366e38 3.4028235e38 7e-46 7.1e-46 "
        "1.1754942e-38 1.5.5 1,5 abc 9007199254740993 16777217.0000000001 16777217 "
        "340282356779733661637539395458142568447 340282356779733661637539395458142568448 "
        "16777217.000000 16777219.0000000000000 nan(1_a) nan(1");
    expectAsStrtof("");
    for (auto word = words.readNextToken(); !word.empty(); word = words.readNextToken())
        expectAsStrtof(std::string(word));
    const std::string zeros(400, '0');
    for (const std::string& text : {"1" + zeros, "0." + zeros + "1", zeros + "1", "1." + zeros + "1",
                                    "0." + zeros + "1e401", "1" + zeros + "e-400"})
        expectAsStrtof(text);
}

TEST(NumberText, StopsAtTheEndItIsGiven)
{
    const char text[] = "12345e5", blank[] = " 1";
    float value = 0;
    EXPECT_EQ(parseFloat(blank, blank + 2, value), blank) << "nothing is skipped";
    for (const int length : {0, 3, 5, 6})
    {
        EXPECT_EQ(parseFloat(text, text + length, value), text + std::min(length, 5));
        EXPECT_EQ(value, length == 0 ? 0.0f : length == 3 ? 123.0f : 12345.0f);
    }
    int32 number = 0;
    EXPECT_EQ(parseInt(text, text + 2, number), text + 2);
    EXPECT_EQ(number, 12);
}

TEST(NumberText, ReadsIntegersAndSaturates)
{
    for (const char* text : {"0", "-17/3", "+4", "2147483647", "2147483648", "-2147483648", "007", "-", "",
                             "x", "-99999999999999999999999", "99999999999999999999999"})
        EXPECT_TRUE(test::readsAsStrtoll(text)) << text;
}

TEST(NumberText, PrintsTheShortestTextOfAFloat)
{
    constexpr float infinity = std::numeric_limits<float>::infinity();
    constexpr float nan = std::numeric_limits<float>::quiet_NaN();
    const std::pair<float, const char*> rows[] = {{-0.0f, "-0"},
                                                  {0.1f, "0.1"},
                                                  {1e10f, "1e+10"},
                                                  {1e-7f, "1e-07"},
                                                  {infinity, "inf"},
                                                  {-infinity, "-inf"},
                                                  {nan, "nan"},
                                                  {-nan, "-nan"},
                                                  {16777216.0f, "16777216"},
                                                  {-std::numeric_limits<float>::min(), "-1.1754944e-38"}};
    for (const auto& [value, expected] : rows) EXPECT_EQ(test::shortest(value), expected);
    // the sizes that meshes have, among them powers of two, whose neighbours lie unevenly, and short decimals
    std::mt19937 random(2);
    for (int n = 0; n < 400'000; ++n)
    {
        const uint32 bits = 0x38000000u + static_cast<uint32>(random() % 0x14000000u);
        const auto few = static_cast<float>(random() % 100'000) / static_cast<float>(1u << random() % 20);
        for (const float value : {std::bit_cast<float>(bits), -std::bit_cast<float>(bits & 0xFF800000), few,
                                  static_cast<float>(random() % 100'000) / 1000.0f})
        {
            char text[32];
            const auto end = std::to_chars(text, text + sizeof text, value).ptr;
            ASSERT_EQ(test::shortest(value), std::string(text, end));
        }
    }
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
    std::setlocale(LC_ALL, "C");
    EXPECT_EQ(end, text + 3);
    EXPECT_EQ(value, 2.5f);
    EXPECT_EQ(large, "10000000000000000905969664.000000");
}

TEST(TX_Tokenizer, CutsAtSeparatorsOnly)
{
    TX_Tokenizer words(" \t f 1/2\v3 \r\n"), fields("a,,b c", ",");
    EXPECT_EQ(words.readNextToken(), "f");
    EXPECT_EQ(words.readNextToken(), "1/2");
    EXPECT_EQ(words.rest(), "\v3 \r\n");
    EXPECT_EQ(words.readNextToken(), "3");
    for (int n = 0; n < 2; ++n) EXPECT_TRUE(words.readNextToken().empty());
    EXPECT_EQ(fields.readNextToken(), "a");
    EXPECT_EQ(fields.readNextToken(), "b c");
}
