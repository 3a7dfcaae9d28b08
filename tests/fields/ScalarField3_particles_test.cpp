#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <vector>

#include <tavrix/fields/ScalarField3.h>

using namespace tavrix;

namespace
{

struct Particles
{
    Array<Vector3F> positions;
    Array<float> radii;
};

Particles cloud(uint32 count, float extent, uint32 seed)
{
    std::mt19937 random(seed);
    const auto unit = [&] { return static_cast<float>(random() % 100001) / 100000.0f; };
    Particles particles;
    for (uint32 n = 0; n < count; ++n)
    {
        particles.positions.push_back(
            {(unit() - 0.5f) * extent, (unit() - 0.5f) * extent, (unit() - 0.5f) * extent});
        particles.radii.push_back(0.1f + 0.2f * unit());
    }
    return particles;
}

template <class Value, class Coord>
ScalarField3<Value, Coord> emptyField(uint32 x, uint32 y, uint32 z)
{
    ScalarField3<Value, Coord> field;
    field.reset(x, y, z, Coord(0.125));
    field.setDefaultValue(Value(9));
    return field;
}

template <class F>
Array<double> squaredDistances(const F& field, const Vector3F& p)
{
    Array<double> squares(field.size());
    for (uint32 m = 0; m < field.size(); ++m)
    {
        const auto node = field.getPoint(m);
        const double x = node.x - double{p.x}, y = node.y - double{p.y}, z = node.z - double{p.z};
        squares[m] = x * x + y * y + z * z;
    }
    return squares;
}

/// Every particle against every node, by the formula.
template <class F>
void bruteDistance(F& field, const Particles& particles)
{
    field.setZero();
    for (uint32 n = 0; n < particles.positions.size(); ++n)
    {
        const float r2 = particles.radii[n] * particles.radii[n];
        const Array<double> squares = squaredDistances(field, particles.positions[n]);
        for (uint32 m = 0; m < field.size(); ++m)
        {
            const auto d2 = static_cast<float>(squares[m]);
            if (!(d2 < 4 * r2)) continue;
            const float t = 1 - 0.25f * d2 / r2;
            field[m] = std::max<std::decay_t<decltype(field[m])>>(field[m], t * t * t);
        }
    }
}

template <class F>
void bruteMetaballs(F& field, const Particles& particles, float influence)
{
    field.setZero();
    const float k = influence * 3.8f / 100 + 1.2f;
    const double w = 1 / std::pow(1 - 1 / (double{k} * k), 3);
    for (uint32 n = 0; n < particles.positions.size(); ++n)
    {
        const double reach = double{particles.radii[n]} * k;
        const Array<double> squares = squaredDistances(field, particles.positions[n]);
        for (uint32 m = 0; m < field.size(); ++m)
            if (squares[m] <= reach * reach)
                field.add(m, static_cast<std::decay_t<decltype(field[m])>>(
                                 w * std::pow(1 - squares[m] / (reach * reach), 3)));
    }
}

int pollsLeft = 0;
int countDown() { return pollsLeft-- <= 0 ? 1 : 0; }
int countUp() { return ++pollsLeft, 0; }

template <class F>
class RealFields : public testing::Test
{
};
using RealInstantiations = testing::Types<ScalarField3<float, float>, ScalarField3<float, double>,
                                          ScalarField3<double, float>, ScalarField3<double, double>>;
TYPED_TEST_SUITE(RealFields, RealInstantiations);

}  // namespace

TYPED_TEST(RealFields, DistanceEqualsBruteForceForEveryThreadCount)
{
    const Particles particles = cloud(60, 3.0f, 1);
    for (uint32 depth : {33u, 5u, 1u})
    {
        TypeParam expected, field;
        expected.reset(20, 24, depth, 0.125);
        field = expected;
        bruteDistance(expected, particles);
        for (uint32 threads : {1u, 2u, 3u, 7u, 16u, 100u})
        {
            field.setDefaultValue(9);
            ASSERT_TRUE(field.setDistanceField(particles.positions, particles.radii, 0.6f, threads, nullptr));
            ASSERT_EQ(field.getArrScalars(), expected.getArrScalars())
                << threads << " threads, depth " << depth;
        }
    }
}

TYPED_TEST(RealFields, MetaballsEqualBruteForceForEveryThreadCount)
{
    const Particles particles = cloud(60, 3.0f, 2);
    for (float influence : {0.0f, 40.0f})
    {
        TypeParam expected, first, field;
        expected.reset(20, 24, 33, 0.125);
        first = field = expected;
        bruteMetaballs(expected, particles, influence);
        ASSERT_TRUE(
            first.setMetaballField(particles.positions, particles.radii, 2.0f, influence, 1, nullptr));
        for (uint32 m = 0; m < field.size(); ++m)
            ASSERT_NEAR(first[m], expected[m], 2e-5 * (1 + expected[m]));
        for (uint32 threads : {2u, 3u, 7u, 16u})
        {
            ASSERT_TRUE(field.setMetaballField(particles.positions, particles.radii, 2.0f, influence, threads,
                                               nullptr));
            EXPECT_EQ(field.getArrScalars(), first.getArrScalars());
        }
    }
}

TEST(ScalarField3Particles, KernelsHaveTheirStatedValues)
{
    ScalarField3<float, double> field;
    field.reset(41, 41, 41, 0.25);
    const Particles one{{{0, 0, 0}}, {1.0f}};
    field.setDistanceField(one.positions, one.radii, 2.0f, 1, nullptr);
    EXPECT_EQ(field.get(20, 20, 20), 1.0f);
    EXPECT_EQ(field.get(24, 20, 20), 0.421875f);
    EXPECT_EQ(field.get(20, 28, 20), 0.0f);
    EXPECT_EQ(field.getFlags() & field.flagChanged, field.flagChanged);
    for (float influence : {0.0f, 50.0f, 100.0f})
    {
        field.setMetaballField(one.positions, one.radii, 5.0f, influence, 1, nullptr);
        EXPECT_NEAR(field.get(20, 20, 24), 1.0f, 1e-6f);
        EXPECT_GT(field.get(20, 20, 23), 1.0f);
        EXPECT_EQ(field.get(20, 20, 40), 0.0f);
    }
}

TEST(ScalarField3Particles, ASmallMarginCutsAtTheGroupsBox)
{
    ScalarField3<float, double> field;
    field.reset(41, 41, 41, 0.25);
    const Particles one{{{0.1f, 0.1f, 0.1f}}, {1.0f}};
    field.setDistanceField(one.positions, one.radii, 0.0f, 1, nullptr);
    // floor and ceil of the particle's place, two nodes further: nodes 18 to 23 remain.
    EXPECT_GT(field.get(18, 20, 20), 0.0f);
    EXPECT_EQ(field.get(17, 20, 20), 0.0f);
    EXPECT_GT(field.get(20, 20, 23), 0.0f);
    EXPECT_EQ(field.get(20, 20, 24), 0.0f);
}

TEST(ScalarField3Particles, SubtractiveFormsCarve)
{
    const Particles particles = cloud(40, 2.0f, 3);
    using Field = ScalarField3<float, double>;
    const auto start = []
    {
        auto field = emptyField<float, double>(24, 24, 24);
        for (uint32 m = 0; m < field.size(); ++m) field[m] = static_cast<float>(m % 5) - 1.0f;
        return field;
    };
    const Field before = start();
    Field balls = before, metaballs = before;
    balls.setDistanceField(particles.positions, particles.radii, 1.0f, 1, nullptr);
    metaballs.setMetaballField(particles.positions, particles.radii, 1.0f, 10.0f, 1, nullptr);

    Field carved = start(), reduced = start();
    ASSERT_TRUE(carved.setSubtractiveDistanceField(particles.positions, particles.radii, 1.0f, 1, nullptr));
    ASSERT_TRUE(
        reduced.setSubtractiveMetaballField(particles.positions, particles.radii, 1.0f, 10.0f, 1, nullptr));
    for (uint32 m = 0; m < before.size(); ++m)
    {
        ASSERT_EQ(carved[m], before[m] > 0 && balls[m] > 0 ? before[m] - balls[m] : before[m]);
        ASSERT_EQ(reduced[m], before[m] - metaballs[m]);
    }
    // With more threads every group carves by itself, in order; for sums that is the same up to rounding.
    Field parallel = start();
    ASSERT_TRUE(
        parallel.setSubtractiveMetaballField(particles.positions, particles.radii, 1.0f, 10.0f, 4, nullptr));
    for (uint32 m = 0; m < before.size(); ++m) ASSERT_NEAR(parallel[m], reduced[m], 1e-4);
}

TEST(ScalarField3Particles, EveryPollCanCancel)
{
    const Particles particles = cloud(200, 2.0f, 4);
    const auto start = emptyField<float, double>(24, 24, 24);
    for (int kind = 0; kind < 4; ++kind)
    {
        const auto run = [&](auto& field, CancelCallback callback)
        {
            const auto& [p, r] = particles;
            return kind == 0   ? field.setDistanceField(p, r, 1.0f, 2, callback)
                   : kind == 1 ? field.setMetaballField(p, r, 1.0f, 5.0f, 2, callback)
                   : kind == 2 ? field.setSubtractiveDistanceField(p, r, 1.0f, 2, callback)
                               : field.setSubtractiveMetaballField(p, r, 1.0f, 5.0f, 2, callback);
        };
        auto field = start;
        pollsLeft = 0;
        ASSERT_TRUE(run(field, countUp));
        const int polls = pollsLeft;
        ASSERT_GE(polls, 2);
        for (int n = 0; n < polls; ++n)
        {
            field = start;
            pollsLeft = n;
            EXPECT_FALSE(run(field, countDown));
            const float left = kind < 2 ? 0.0f : 9.0f;
            for (float sample : field.getArrScalars()) ASSERT_EQ(sample, left);
        }
    }
}

TEST(ScalarField3Particles, BadParticlesAddNothing)
{
    const float nan = std::numeric_limits<float>::quiet_NaN(), inf = std::numeric_limits<float>::infinity();
    Particles good = cloud(20, 2.0f, 5);
    Particles bad = good;
    for (const Vector3F& p : {Vector3F{nan, 0, 0}, {0, inf, 0}, {0, 0, -inf}, {1e30f, 0, 0}, {0, -1e30f, 0}})
    {
        bad.positions.push_back(p);
        bad.radii.push_back(0.3f);
    }
    for (float r : {0.0f, -1.0f, nan, inf, 1e-30f, 3e38f})
    {
        bad.positions.push_back({0, 0, 0});
        bad.radii.push_back(r);
    }
    bad.positions.push_back({0, 0, 0});  // has no radius
    auto expected = emptyField<float, double>(24, 24, 24), field = expected;
    expected.setDistanceField(good.positions, good.radii, 1.0f, 1, nullptr);
    for (float margin : {1.0f, 1e30f, inf})
    {
        ASSERT_TRUE(field.setDistanceField(bad.positions, bad.radii, margin, 3, nullptr));
        EXPECT_EQ(field.getArrScalars(), expected.getArrScalars());
    }
    field.setDistanceField(bad.positions, bad.radii, nan, 2, nullptr);
    ScalarField3<float, double> none;
    EXPECT_TRUE(none.setDistanceField(bad.positions, bad.radii, 1.0f, 2, nullptr));
    EXPECT_TRUE(field.setMetaballField({}, {}, 1.0f, 1.0f, 2, nullptr));
    EXPECT_EQ(field.get(0u), 0.0f);

    // A kernel that dwarfs the grid reaches every node.
    ASSERT_TRUE(field.setDistanceField({{0, 0, 0}}, {1e6f}, 3e6f, 2, nullptr));
    EXPECT_EQ(*std::min_element(field.getArrScalars().begin(), field.getArrScalars().end()), 1.0f);
}
