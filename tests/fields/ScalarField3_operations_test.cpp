#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

#include <tavrix/fields/ScalarField3.h>

using namespace tavrix;

namespace
{

using Field = ScalarField3<float, double>;

Field randomField(uint32 sizeX, uint32 sizeY, uint32 sizeZ, uint32 seed)
{
    Field field;
    field.reset(sizeX, sizeY, sizeZ, 0.5);
    std::mt19937 random(seed);
    for (float& v : field.refArrScalars()) v = static_cast<float>(random() % 2000) / 100 - 10;
    return field;
}

/// A diffusion step as it is defined, node by node.
struct Diffusion
{
    float a, d, min, max;

    float finish(float v) const { return std::min(std::max(v - v * d, min), max); }

    /// Calls use(m, neighbours) with the nodes before and behind node m on each axis, itself at the border.
    template <class Use>
    static void forEachNode(const Field& field, Use use)
    {
        for (uint32 m = 0; m < field.size(); ++m)
        {
            uint32 neighbours[6];
            for (uint32 axis = 0; axis < 3; ++axis)
            {
                const uint32 step = axis == 2 ? 1 : axis == 1 ? field.sizeZ() : field.getGrid().sizeYZ;
                const uint32 at = field.getIndexes(m)[axis];
                neighbours[2 * axis] = at > 0 ? m - step : m;
                neighbours[2 * axis + 1] = at + 1 < field.getGrid().sizeAlong(axis) ? m + step : m;
            }
            use(m, neighbours);
        }
    }

    Field explicitStep(const Field& field) const
    {
        Field result(field);
        const auto update = [&](uint32 m, const uint32* n)
        {
            const float twice = 2 * field[m];
            result[m] = finish(field[m] + a * ((field[n[1]] + field[n[0]] - twice) +
                                               (field[n[3]] + field[n[2]] - twice) +
                                               (field[n[5]] + field[n[4]] - twice)));
        };
        forEachNode(field, update);
        return result;
    }

    Field implicitStep(const Field& source) const
    {
        Field result(source);
        const auto update = [&](uint32 m, const uint32* n)
        {
            const float sum =
                ((result[n[0]] + result[n[1]]) + (result[n[2]] + result[n[3]])) + result[n[5]] + result[n[4]];
            result[m] = finish((a * sum + source[m]) / (6 * a + 1));
        };
        for (int pass = 0; pass < 20; ++pass) forEachNode(source, update);
        return result;
    }
};

}  // namespace

TEST(ScalarField3Operations, DiffusionIsTheDefinedOneForEveryThreadCount)
{
    for (const Index3& size : {Index3{9, 17, 11}, Index3{1, 1, 1}, Index3{2, 3, 1}, Index3{50, 2, 3}})
    {
        const Field field = randomField(size.a, size.b, size.c, 3);
        constexpr float timeStep = 0.01f, dissipation = 2;
        const float diffusion = 0.1f / (timeStep * static_cast<float>(field.size()));
        const Diffusion defined{timeStep * diffusion * static_cast<float>(field.size()),
                                timeStep * dissipation, -9, 8};
        const Field expected[2] = {defined.explicitStep(field), defined.implicitStep(field)};
        for (const uint32 threads : {1u, 2u, 3u, 7u, 100u})
            for (const auto mode : {Field::TX_FIELD_DIFFUSE_EXPLICIT, Field::TX_FIELD_DIFFUSE_IMPLICIT})
            {
                Field result(field);
                result.diffuse_dissipate(timeStep, diffusion, dissipation, threads, mode, -9, 8);
                EXPECT_EQ(result.getArrScalars(), expected[mode].getArrScalars())
                    << size.a << " planes, mode " << mode << ", threads " << threads;
            }
    }
    Field field = randomField(3, 3, 3, 4);
    const Field before(field);
    field.diffuse_dissipate(1, 1, 1, 2, static_cast<Field::DiffuseDissipateSolverMode>(2), -1, 1);
    EXPECT_EQ(field.getArrScalars(), before.getArrScalars()) << "another mode";
    Field().diffuse_dissipate(1, 1, 1, 2, Field::TX_FIELD_DIFFUSE_IMPLICIT, -1, 1);
}

TEST(ScalarField3Operations, Arithmetic)
{
    const Field a = randomField(5, 6, 7, 1), b = randomField(5, 6, 7, 2);
    Field sum(a), difference(a), product(a), absolute(a);
    sum.add(b, 0.5f);
    difference.sub(b);
    product.multiply(-3);
    absolute.abs();
    for (uint32 m = 0; m < a.size(); ++m)
    {
        EXPECT_EQ(sum[m], b[m] * 0.5f + a[m]);
        EXPECT_EQ(difference[m], a[m] - b[m]);
        EXPECT_EQ(product[m], a[m] * -3);
        EXPECT_EQ(absolute[m], std::fabs(a[m]));
    }
}

TEST(ScalarField3Operations, Extremes)
{
    float min, max, avg;
    Field field;
    field.findMinMaxAvg(min, max, avg);
    EXPECT_TRUE(min == 3.4028235e38f && max == -3.4028235e38f && avg == 0 && !field.doIHave_NaN());
    field.reset(1, 1, 21, 1.0);
    for (uint32 place = 0; place < field.size(); ++place)
    {
        field.set(2.0f);
        field[place] = -1;
        field[(place + 5) % 21] = 4;
        field[(place + 9) % 21] = std::numeric_limits<float>::quiet_NaN();
        field.findMinMax(min, max);
        EXPECT_TRUE(min == -1 && max == 4 && field.doIHave_NaN()) << place;
    }
    field.set(2.0f);
    field[3] = 23;
    EXPECT_FALSE(field.doIHave_NaN());
    field.findMinMaxAvg(min, max, avg);
    EXPECT_EQ(avg, 3);
    field[20] = std::numeric_limits<float>::infinity();
    EXPECT_TRUE(field.doIHave_NaN());
}

TEST(ScalarField3Operations, AddsAtAPointWhatEvaluationWouldRead)
{
    Field field;
    field.reset(4, 4, 4, 1.0);
    field.setZero();
    EXPECT_TRUE(field.addValueToBoxContainingPoint({0.25, 0, 1.5}, 8));
    EXPECT_FLOAT_EQ(field.get(1, 1, 3), 8 * 0.25f * 0.5f);
    EXPECT_FLOAT_EQ(field.get(2, 1, 3), 8 * 0.75f * 0.5f);
    float sum = 0;
    for (const float v : field.getArrScalars()) sum += v;
    EXPECT_FLOAT_EQ(sum, 8);
    EXPECT_FALSE(field.addValueToBoxContainingPoint({0, 0, 1.6}, 8));
}
