#include <tavrix/mesh/detail/NormalKernel.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <memory>
#include <random>

#include <tavrix/foundation/ElementaryFunctions.h>
#include <tavrix/foundation/Vector3.h>

using namespace tavrix;
using detail::FaceBatch;

/// Faces of all sizes and shapes: needles, points, huge and tiny ones.
static std::unique_ptr<FaceBatch> makeBlock(uint32 seed)
{
    auto block = std::make_unique<FaceBatch>();
    std::mt19937 random(seed);
    std::uniform_real_distribution<double> coordinate(-1, 1);
    for (uint32 i = 0; i < FaceBatch::capacity; ++i)
    {
        const double scale = std::ldexp(1.0, static_cast<int>(random() % 200) - 100);
        for (auto& corner : block->corner)
            for (auto& axis : corner) axis[i] = coordinate(random) * scale;
        const auto shape = static_cast<uint32>(random() % 8);
        const auto flat = static_cast<uint32>(random() % 3);
        for (uint32 axis = 0; axis < 3; ++axis)
        {
            const double p = block->corner[(flat + 1) % 3][axis][i];
            const double q = block->corner[(flat + 2) % 3][axis][i];
            double& moved = block->corner[flat][axis][i];
            if (shape < 3) moved = (p + q) / 2 + coordinate(random) * scale * 1e-7;  // whose raw angles lie
            if (shape == 3) moved = p;
        }
    }
    return block;
}

TEST(FaceBatch, AnglesAreThoseOfTheTriangleWithAnyInstructionSet)
{
    uint32 checked = 0;
    auto* fastNormals = &detail::plain::computeFaceNormals;
    auto* fastContributions = &detail::plain::computeCornerContributions;
#if defined(TX_AVX2_KERNELS)
    if (detail::hasAvx2())
    {
        fastNormals = &detail::avx2::computeFaceNormals;
        fastContributions = &detail::avx2::computeCornerContributions;
    }
#endif
    for (uint32 seed = 0; seed < 200; ++seed)
    {
        const uint32 count = seed % 2 ? FaceBatch::capacity : 1 + seed % FaceBatch::capacity;
        const auto block = makeBlock(seed), same = makeBlock(seed);
        detail::plain::computeFaceNormals(*block, count);
        detail::plain::computeCornerContributions(*block, count);
        fastNormals(*same, count);
        fastContributions(*same, count);
        ASSERT_EQ(std::memcmp(block->normal, same->normal, sizeof block->normal), 0);
        ASSERT_EQ(std::memcmp(block->area, same->area, sizeof block->area), 0);
        for (uint32 i = 0; i < count; ++i)
        {
            if (!(block->area[i] > detail::smallestArea)) continue;
            const auto corner = [&](uint32 c) {
                return Vector3D{block->corner[c][0][i], block->corner[c][1][i], block->corner[c][2][i]};
            };
            const Vector3D u = corner(1) - corner(0), v = corner(2) - corner(0);
            EXPECT_NEAR(block->angle[0][i], std::atan2(length(cross(u, v)), dot(u, v)), 1e-7);
            EXPECT_NEAR(block->angle[0][i] + block->angle[1][i] + block->angle[2][i], piValue, 2e-15);
            ++checked;
            for (uint32 n = 0; n < 9; ++n)
                ASSERT_EQ(block->contribution[n / 3][n % 3][i], same->contribution[n / 3][n % 3][i]) << seed;
        }
    }
    EXPECT_GT(checked, 5000u);
}
