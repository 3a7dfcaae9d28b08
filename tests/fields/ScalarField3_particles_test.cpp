#include <gtest/gtest.h>

#include <limits>

#include <tavrix/fields/ScalarField3.h>
#include "ParticleSetters.h"

using namespace tavrix;

namespace
{

using Field = ScalarField3<float, double>;

Field emptyField()
{
    Field field;
    field.reset(24, 24, 24, 0.125);
    field.setDefaultValue(9);
    return field;
}

template <class T>
class RealFields : public testing::Test
{
};
using Instantiations = testing::Types<std::pair<float, float>, std::pair<float, double>,
                                      std::pair<double, float>, std::pair<double, double>>;
TYPED_TEST_SUITE(RealFields, Instantiations);

}  // namespace

TYPED_TEST(RealFields, SettersEqualBruteForceForEveryThreadCount)
{
    using Value = typename TypeParam::first_type;
    using Coord = typename TypeParam::second_type;
    Particles p = cloud(60, 3.0f, 1);
    for (const auto& setter : particleSetters<Value, Coord>())
    {
        p.weights[7] = std::string_view(setter.name) == "weighted sum" ? -1.0f : 1.0f;
        for (const uint32 depth : {33u, 5u, 1u})
        {
            ScalarField3<Value, Coord> start, first;
            start.reset(20, 24, depth, Coord(0.125));
            for (uint32 m = 0; m < start.size(); ++m) start[m] = static_cast<Value>(m % 5) - 1;
            for (const uint32 threads : {1u, 2u, 7u, 100u})
            {
                ScalarField3<Value, Coord> field = start;
                ASSERT_TRUE(setter.call(field, p, 2.0f, threads, nullptr));
                if (threads == 1)
                {
                    first = field;
                    if (!setter.kernel) continue;
                    const std::vector<double> expected = bruteForce<Value, Coord>(setter, start, p);
                    const double tolerance = std::string_view(setter.name) == "distance" ? 0 : 2e-5;
                    for (uint32 m = 0; m < field.size(); ++m)
                        ASSERT_NEAR(static_cast<double>(field[m]), expected[m],
                                    tolerance * (1 + std::fabs(expected[m])))
                            << setter.name << ", node " << m;
                }
                if (!setter.carves) { ASSERT_EQ(field.getArrScalars(), first.getArrScalars()); }
                for (uint32 m = 0; setter.sums && m < field.size(); ++m)  // every group carves by itself
                    ASSERT_NEAR(field[m], first[m], 1e-4) << m;
            }
        }
    }
}

TEST(ScalarField3Particles, MetaballsMeetTheirRadiusAndOverloadsDiffer)
{
    Field field;
    field.reset(41, 41, 41, 0.25);
    for (float influence : {0.0f, 50.0f, 100.0f})
    {
        field.setMetaballField({{0, 0, 0}}, {1.0f}, 5.0f, influence);
        EXPECT_NEAR(field.get(20, 20, 24), 1.0f, 1e-6f);
        EXPECT_GT(field.get(20, 20, 23), 1.0f);
        EXPECT_EQ(field.get(20, 20, 40), 0.0f);
    }
    // A number behind the reach is a least weight with a point, a thread count without.
    field.setWeigthDistanceField({{0, 0, 0}}, {1.0f}, {0.5f}, 2.0f, 2.0f, 3);
    EXPECT_EQ(field.get(20, 20, 20), 0.5f);
    field.setWeigthDistanceField({{0, 0, 0}}, {1.0f}, {0.5f}, 2.0f, 2.0f, 0.6);
    EXPECT_EQ(field.get(20, 20, 20), 0.0f);
}

TEST(ScalarField3Particles, ASmallMarginCutsAtTheGroupsBox)
{
    Field field;
    field.reset(41, 41, 41, 0.25);
    field.setDistanceField({{0.1f, 0.1f, 0.1f}}, {1.0f}, 0.0f);
    // floor and ceil of the particle's place, two nodes further: nodes 18 to 23 remain.
    EXPECT_GT(field.get(18, 20, 20), 0.0f);
    EXPECT_EQ(field.get(17, 20, 20), 0.0f);
    EXPECT_GT(field.get(20, 20, 23), 0.0f);
    EXPECT_EQ(field.get(20, 20, 24), 0.0f);
}

TEST(ScalarField3Particles, BadParticlesAddNothing)
{
    const float nan = std::numeric_limits<float>::quiet_NaN(), inf = std::numeric_limits<float>::infinity();
    const Particles good = cloud(20, 2.0f, 5);
    Particles bad = good;
    const auto add = [&](const Vector3F& position, float radius, float weight)
    {
        bad.positions.push_back(position);
        bad.normals.push_back({0, 0, 1});
        bad.radii.push_back(radius);
        bad.weights.push_back(weight);
    };
    for (const Vector3F& p : {Vector3F{nan, 0, 0}, {0, inf, 0}, {0, 0, -inf}, {1e30f, 0, 0}, {0, -1e30f, 0}})
        add(p, 0.3f, 1);
    for (const float r : {0.0f, -1.0f, nan, inf, 1e-30f}) add({9, 0, 0}, r, 1);
    bad.positions.push_back({0, 0, 0});  // has no radius
    for (const auto& setter : particleSetters<float, double>())
        for (const float margin : {1.0f, 1e30f, inf})
        {
            Field expected = emptyField(), field = expected, none;
            setter.call(expected, good, 1.0f, 3, nullptr);
            ASSERT_TRUE(setter.call(field, bad, margin, 3, nullptr));
            for (uint32 m = 0; m < field.size(); ++m) ASSERT_NEAR(field[m], expected[m], 1e-4) << setter.name;
            EXPECT_TRUE(setter.call(none, bad, margin, 2, nullptr));
            for (const Vector3D& separation : {Vector3D{-1, -1, -1}, Vector3D{1, -1, 1}, Vector3D{1, 0, 1}})
            {
                none.reset(3, 4, 5, separation);
                none.setDefaultValue(0);
                EXPECT_TRUE(setter.call(none, good, margin, 2, nullptr));
                EXPECT_EQ(none.getArrScalars(), Array<float>(60, 0.0f)) << setter.name;
            }
            EXPECT_TRUE(setter.call(field, {}, margin, 2, nullptr));
            EXPECT_EQ(field.get(0) == 0.0f, !setter.carves);
            setter.call(field, bad, nan, 2, nullptr);
        }

    Field field = emptyField();
    const auto expectNothing = [&](bool isDone)
    {
        EXPECT_TRUE(isDone);
        EXPECT_EQ(field.getArrScalars(), Array<float>(field.size(), 0.0f));
    };
    const Array<float> radii(4, 0.5f), weights{nan, inf, 0.0f, -1.0f}, ones(4, 1.0f);
    const Array<Vector3F> positions(4, Vector3F{0, 0, 0}), normals(4, Vector3F{0, 0, 1});
    expectNothing(field.setWeigthDistanceField(positions, radii, weights, 1.0f, 2.0f));
    expectNothing(field.setWeigthNormalDistanceField(positions, radii, normals, weights, 1.0f));
    for (const float n : {nan, inf, 1e30f})
        expectNothing(field.setWeigthNormalDistanceField(positions, radii, {{n, 0, 0}}, ones, 1.0f));
    for (const float reach : {nan, 0.0f, -1.0f})
        expectNothing(field.setWeigthDistanceField_v2(positions, radii, ones, 1.0f, reach));
    // A kernel that dwarfs the grid reaches every node.
    const Array<float> everywhere(field.size(), 1.0f);
    field.setWeigthDistanceField({{0, 0, 0}}, {1e18f}, {1.0f}, 3e18f, 2.0f);
    EXPECT_EQ(field.getArrScalars(), everywhere);
    field.setDistanceField({{0, 0, 0}}, {1e6f}, 3e6f);
    EXPECT_EQ(field.getArrScalars(), everywhere);
}
