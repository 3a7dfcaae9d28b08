// The arithmetic kernels of all instruction sets give the same bytes.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <numeric>
#include <random>
#include <vector>

#include <tavrix/fields/detail/AdvectionKernel.h>
#include <tavrix/fields/detail/BallSplat.h>
#include <tavrix/fields/detail/EllipsoidSplat.h>
#include <tavrix/fields/detail/NeighbourMomentsKernel.h>

using namespace tavrix;
using namespace tavrix::detail;

#if defined(TX_AVX2_KERNELS)

namespace
{

std::mt19937 engine{17};
float unit() { return static_cast<float>(engine() % 100001) / 100000.0f; }

/// Calls splat(target) on a block of samples for rows of several lengths, and returns all samples.
template <class Value, class Splat>
std::vector<Value> splatted(Splat splat)
{
    std::vector<Value> all;
    for (const uint32 depth : {3u, 9u, 24u, 31u})
    {
        std::vector<double> nodes(40), scratch(depth + 16u);
        for (uint32 n = 0; n < 40; ++n) nodes[n] = 0.25 * n - 4;
        std::vector<Value> samples(std::size_t{20} * 20 * depth, Value(0.125));
        splat(SplatTarget<Value>{samples.data(),
                                 {0, 0, 2},
                                 depth,
                                 std::size_t{20} * depth,
                                 depth,
                                 {0, 0, 2},
                                 {20, 20, depth + 2},
                                 {nodes.data(), nodes.data(), nodes.data()},
                                 {nodes[0], nodes[0], nodes[0]},
                                 {0, 0, 0},
                                 {4, 4, 4},
                                 0.25,
                                 scratch.data()});
        all.insert(all.end(), samples.begin(), samples.end());
    }
    return all;
}

}  // namespace

TEST(Kernels, AdvectedSamplesAreTheSame)
{
    if (!hasAvx2()) GTEST_SKIP() << "this processor has no AVX2";
    constexpr uint32 length = 71;
    std::vector<float> rows(16 * length);
    for (float& v : rows) v = engine() % 3 == 0 ? 0.5f : 2 * unit() - 1;  // with constant stretches
    const auto row = [&](uint32 n) { return rows.data() + std::size_t{n} * length + 8; };
    for (const uint32 count : {8u, 13u, 40u, 55u})
    {
        AdvectionRun run{.count = count,
                         .start = row(12),
                         .z = row(13),
                         .x = {},
                         .y = {},
                         .speedX = row(14),
                         .speedY = row(15),
                         .speedZ = row(2)};
        for (uint32 n = 0; n < 2 * advectionReach; ++n) run.x[n] = row(n), run.y[n] = row(n + 6);
        std::vector<float> a(count), b(count);
        plain::advectRun(run, 0.75f, 0.3f, a.data());
        avx2::advectRun(run, 0.75f, 0.3f, b.data());
        EXPECT_EQ(std::memcmp(a.data(), b.data(), count * sizeof(float)), 0) << count;
        std::vector<uint8> u(count), v(count);
        const float* const beside[4] = {row(1), row(2), row(3), row(4)};
        plain::findVarying(row(0), beside, count, 0.7f, u.data());
        avx2::findVarying(row(0), beside, count, 0.7f, v.data());
        EXPECT_EQ(u, v);
        EXPECT_NE(std::count(u.begin(), u.end(), 1), 0);
    }
}

TEST(Kernels, SplatsAreTheSame)
{
    if (!hasAvx2()) GTEST_SKIP() << "this processor has no AVX2";
    std::vector<Particle> balls;
    std::vector<Ellipsoid> ellipsoids;
    for (int n = 0; n < 200; ++n)
    {
        balls.push_back({5 * unit() - 4, 5 * unit() - 4, 7 * unit() - 4, 0.05f + unit()});
        Ellipsoid e = Ellipsoid::ball(balls.back().x, balls.back().y, balls.back().z, 1.5f, unit());
        e.xx *= 1 + 3 * unit();
        e.zz *= 1 + 8 * unit();
        e.xy = 0.3f * e.xx * (unit() - 0.5f);
        e.yz = e.xz = 0.2f * (unit() - 0.5f);
        ellipsoids.push_back(e);
    }
    for (const SplatMerge merge : {SplatMerge::Maximum, SplatMerge::Sum})
    {
        const BallKernel kernel{merge, 1.5f, merge == SplatMerge::Sum ? 1.3f : 1.0f};
        const auto plainBalls = [&](const auto& t) { plain::splat(t, kernel, balls.data(), balls.size()); };
        const auto wideBalls = [&](const auto& t) { avx2::splat(t, kernel, balls.data(), balls.size()); };
        const auto plainOnes = [&](const auto& t) { plain::splat(t, merge, ellipsoids.data(), 200); };
        const auto wideOnes = [&](const auto& t) { avx2::splat(t, merge, ellipsoids.data(), 200); };
        EXPECT_EQ(splatted<float>(plainBalls), splatted<float>(wideBalls));
        EXPECT_EQ(splatted<double>(plainOnes), splatted<double>(wideOnes));
        const std::vector<float> reached = splatted<float>(plainOnes);
        EXPECT_EQ(reached, splatted<float>(wideOnes));
        EXPECT_GT(std::accumulate(reached.begin(), reached.end(), 0.0),
                  0.126 * static_cast<double>(reached.size()));
    }
}

TEST(Kernels, NeighbourSumsAreTheSame)
{
    if (!hasAvx2()) GTEST_SKIP() << "this processor has no AVX2";
    std::vector<float> coordinates[3];
    for (auto& axis : coordinates)
    {
        axis.resize(1000);
        std::generate(axis.begin(), axis.end(), [] { return 2 * unit(); });
    }
    const Points points{{coordinates[0].data(), coordinates[1].data(), coordinates[2].data()}, 1000};
    const SymmetricMatrix form = {2, 0.3f, -0.2f, 1.5f, 0.1f, 3};
    for (int n = 0; n < 50; ++n)
    {
        const float place[] = {2 * unit(), 2 * unit(), 2 * unit()};
        const NeighbourMoments a = plain::sumNeighbours(points, place, 1.25f),
                               b = avx2::sumNeighbours(points, place, 1.25f);
        EXPECT_GT(a.weight, 0);
        EXPECT_EQ(0, std::memcmp(&a, &b, sizeof a));
        const MeanOffset c = plain::meanOfNeighbours(points, place, form),
                         d = avx2::meanOfNeighbours(points, place, form);
        EXPECT_EQ(0, std::memcmp(&c, &d, sizeof c));
    }
}

#endif
