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
Field diffused(const Field& source, bool isImplicit, float a, float d, float min, float max)
{
    Field result(source);
    const Field& from = isImplicit ? result : source;
    for (int pass = 0; pass < (isImplicit ? 20 : 1); ++pass)
        for (uint32 m = 0; m < source.size(); ++m)
        {
            // the nodes before and behind on each axis, itself at the border
            float low[3], high[3];
            for (uint32 axis = 0; axis < 3; ++axis)
            {
                Index3 before = source.getIndexes(m), behind = before;
                if (before[axis] > 0) --before[axis];
                if (behind[axis] + 1 < source.getGrid().sizeAlong(axis)) ++behind[axis];
                low[axis] = from.get(before);
                high[axis] = from.get(behind);
            }
            const float own = source[m], twice = 2 * own;
            const float sum = ((low[0] + high[0]) + (low[1] + high[1])) + high[2] + low[2];
            const float v = isImplicit ? (a * sum + own) / (6 * a + 1)
                                       : own + a * ((high[0] + low[0] - twice) + (high[1] + low[1] - twice) +
                                                    (high[2] + low[2] - twice));
            result[m] = std::min(std::max(v - v * d, min), max);
        }
    return result;
}

}  // namespace

TEST(ScalarField3Operations, DiffusionIsTheDefinedOneForEveryThreadCount)
{
    for (const Index3& size : {Index3{9, 17, 11}, Index3{1, 1, 1}, Index3{2, 3, 1}, Index3{50, 2, 3}})
    {
        const Field field = randomField(size.a, size.b, size.c, 3);
        constexpr float timeStep = 0.01f, dissipation = 2;
        const float diffusion = 0.1f / (timeStep * static_cast<float>(field.size()));
        const float a = timeStep * diffusion * static_cast<float>(field.size());
        for (const auto mode : {Field::TX_FIELD_DIFFUSE_EXPLICIT, Field::TX_FIELD_DIFFUSE_IMPLICIT})
        {
            const bool isImplicit = mode == Field::TX_FIELD_DIFFUSE_IMPLICIT;
            const Field expected = diffused(field, isImplicit, a, timeStep * dissipation, -9, 8);
            for (const uint32 threads : {1u, 2u, 3u, 7u, 100u})
            {
                Field result(field);
                result.diffuse_dissipate(timeStep, diffusion, dissipation, threads, mode, -9, 8);
                EXPECT_EQ(result.getArrScalars(), expected.getArrScalars())
                    << size.a << " planes, mode " << mode << ", threads " << threads;
            }
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
