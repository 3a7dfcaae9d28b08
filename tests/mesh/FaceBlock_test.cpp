#include <tavrix/mesh/detail/FaceBlock.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <memory>
#include <random>

#include <tavrix/foundation/ElementaryFunctions.h>
#include <tavrix/foundation/Vector3.h>
#include <tavrix/platform/detail/CpuFeatures.h>

namespace tavrix::detail
{

namespace
{

/// Faces of all sizes and shapes: needles, points, huge and tiny ones.
void fillRandomly(FaceBlock& block, uint32 seed)
{
    std::memset(static_cast<void*>(&block), 0, sizeof block);
    std::mt19937 random(seed);
    std::uniform_real_distribution<double> coordinate(-1, 1);
    for (uint32 i = 0; i < FaceBlock::capacity; ++i)
    {
        const double scale = std::ldexp(1.0, static_cast<int>(random() % 200) - 100);
        for (auto& corner : block.corner)
            for (auto& axis : corner) axis[i] = coordinate(random) * scale;
        const auto shape = static_cast<uint32>(random() % 8);
        const auto flat = static_cast<uint32>(random() % 3);
        if (shape < 3)  // a needle, whose raw angles do not add up to pi
            for (uint32 axis = 0; axis < 3; ++axis)
            {
                const double p = block.corner[(flat + 1) % 3][axis][i],
                             q = block.corner[(flat + 2) % 3][axis][i];
                block.corner[flat][axis][i] = (p + q) / 2 + coordinate(random) * scale * 1e-7;
            }
        if (shape == 3)
            for (auto& axis : block.corner[2])
                axis[i] = block.corner[random() % 2][&axis - block.corner[2]][i];
    }
}

Vector3D cornerOf(const FaceBlock& block, uint32 c, uint32 i)
{
    return {block.corner[c][0][i], block.corner[c][1][i], block.corner[c][2][i]};
}

TEST(FaceBlock, AnglesAreThoseOfTheTriangle)
{
    const auto block = std::make_unique<FaceBlock>();
    fillRandomly(*block, 1);
    plain::computeFaceNormals(*block, FaceBlock::capacity);
    plain::computeCornerContributions(*block, FaceBlock::capacity);
    uint32 checked = 0;
    for (uint32 i = 0; i < FaceBlock::capacity; ++i)
    {
        if (!(block->area[i] > smallestArea)) continue;
        const Vector3D u = cornerOf(*block, 1, i) - cornerOf(*block, 0, i);
        const Vector3D v = cornerOf(*block, 2, i) - cornerOf(*block, 0, i);
        EXPECT_NEAR(block->angle[0][i], std::atan2(length(cross(u, v)), dot(u, v)), 1e-7);
        EXPECT_NEAR(block->angle[0][i] + block->angle[1][i] + block->angle[2][i], piValue, 2e-15);
        ++checked;
    }
    EXPECT_GT(checked, 50u);
}

#if defined(TX_AVX2_KERNELS)
TEST(FaceBlock, BothInstructionSetsGiveTheSameBytes)
{
    if (!hasAvx2()) GTEST_SKIP() << "this processor has no AVX2";
    const auto a = std::make_unique<FaceBlock>();
    const auto b = std::make_unique<FaceBlock>();
    for (uint32 seed = 0; seed < 200; ++seed)
    {
        const uint32 count = seed % 2 ? FaceBlock::capacity : 1 + seed % FaceBlock::capacity;
        for (FaceBlock* block : {a.get(), b.get()}) fillRandomly(*block, seed);
        plain::computeFaceNormals(*a, count);
        plain::computeCornerContributions(*a, count);
        avx2::computeFaceNormals(*b, count);
        avx2::computeCornerContributions(*b, count);
        ASSERT_EQ(std::memcmp(a->normal, b->normal, sizeof a->normal), 0);
        ASSERT_EQ(std::memcmp(a->area, b->area, sizeof a->area), 0);
        for (uint32 i = 0; i < count; ++i)
        {
            if (!(a->area[i] > smallestArea)) continue;
            for (uint32 c = 0; c < 3; ++c)
                for (uint32 axis = 0; axis < 3; ++axis)
                    ASSERT_EQ(a->contribution[c][axis][i], b->contribution[c][axis][i]) << seed;
        }
    }
}
#endif

}  // namespace

}  // namespace tavrix::detail
