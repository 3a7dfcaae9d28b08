#include <tavrix/mesh/detail/FaceBlock.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <memory>
#include <random>

#include <tavrix/foundation/ElementaryFunctions.h>
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
        if (random() % 8 == 0)
            for (auto& axis : block.corner[2])
                axis[i] = block.corner[random() % 2][&axis - block.corner[2]][i];
    }
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
        double u[3], v[3], uu = 0, vv = 0, uv = 0;
        for (uint32 axis = 0; axis < 3; ++axis)
        {
            u[axis] = block->corner[1][axis][i] - block->corner[0][axis][i];
            v[axis] = block->corner[2][axis][i] - block->corner[0][axis][i];
            uu += u[axis] * u[axis], vv += v[axis] * v[axis], uv += u[axis] * v[axis];
        }
        EXPECT_NEAR(block->angle[0][i], std::acos(uv / std::sqrt(uu) / std::sqrt(vv)), 1e-7);
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
