#include <tavrix/foundation/ElementaryFunctions.h>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

using namespace tavrix;

TEST(ElementaryFunctions, ArcCosineIsAccurateOnTheWholeRange)
{
    for (int i = -200'000; i <= 200'000; ++i) ASSERT_NEAR(arcCosine(i / 2e5), std::acos(i / 2e5), 1e-15) << i;
    for (double gap = 1e-3; gap > 1e-16; gap *= 0.37)
    {
        ASSERT_NEAR(arcCosine(1 - gap) / std::acos(1 - gap), 1, 1e-15) << gap;
        ASSERT_NEAR(arcCosine(gap - 1), std::acos(gap - 1), 1e-15) << gap;
    }
    EXPECT_EQ(arcCosine(1), 0);
    EXPECT_EQ(arcCosine(1.0000000000000002), 0);
    EXPECT_EQ(arcCosine(-std::numeric_limits<double>::infinity()), piValue);
    EXPECT_TRUE(std::isnan(arcCosine(std::numeric_limits<double>::quiet_NaN())));
}

TEST(ElementaryFunctions, SineCosineIsAccurateFarOutAndWhereItVanishes)
{
    std::mt19937_64 random(3);
    // Far out some C libraries are off by more than the function under test.
    for (const double range : {1.0, 10.0, 1e3, 1e6})
    {
        std::uniform_real_distribution<double> angle(-range, range);
        const double tolerance = range > 1e3 ? 5e-15 : 1e-15;
        for (int i = 0; i < 50000; ++i)
        {
            const double x = angle(random);
            const auto [s, c] = sineCosine(x);
            ASSERT_NEAR(s, std::sin(x), tolerance) << x;
            ASSERT_NEAR(c, std::cos(x), tolerance) << x;
        }
    }
    EXPECT_EQ(sineCosine(0), std::make_pair(0.0, 1.0));
    EXPECT_TRUE(std::isnan(sineCosine(std::numeric_limits<double>::infinity()).first));
    EXPECT_NEAR(sineCosine(-1e9).first, std::sin(-1e9), 1e-6);
    EXPECT_NEAR(sineCosine(1e9).second, std::cos(1e9), 1e-6);
    // The doubles nearest to 318300 pi and 20.5 pi; the values to 20 digits from arithmetic of 60.
    EXPECT_NEAR(sineCosine(999968.9416376312).first / -3.1320856925366371627e-11, 1, 1e-12);
    EXPECT_NEAR(sineCosine(64.40264939859077).second / -6.3712582587491783101e-15, 1, 1e-12);
}
