#include <tavrix/foundation/Divisor.h>

#include <gtest/gtest.h>

using namespace tavrix;

TEST(Divisor, EqualsTheProcessorsDivision)
{
    uint32 random = 1;
    for (const uint32 divisor :
         {1u, 2u, 3u, 7u, 127u, 128u, 1625u, 0x7FFFFFFFu, 0x80000000u, 0x80000001u, 0xFFFFFFFFu})
        for (uint32 n = 0; n < 10000; ++n)
        {
            random = random * 1664525u + 1013904223u;
            for (const uint32 number : {n, 0xFFFFFFFFu - n, random, random / divisor * divisor - n % 2})
            {
                const auto [quotient, rest] = Divisor(divisor).divide(number);
                ASSERT_EQ(quotient, number / divisor) << number << " / " << divisor;
                ASSERT_EQ(rest, number % divisor) << number << " / " << divisor;
            }
        }
    EXPECT_EQ(Divisor(0).divide(5).quotient, 5u);
}
