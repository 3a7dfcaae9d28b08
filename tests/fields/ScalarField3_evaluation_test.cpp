#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

#include <tavrix/fields/ScalarField3.h>

using namespace tavrix;

namespace
{

using Field = ScalarField3<double, double>;

constexpr auto mode = TX_FIELD_EVAL_ASYMMETRIC;

/// What trilinear interpolation reproduces inside each cell.
double trilinear(const Vector3D& p) { return 1 + 2 * p.x - 3 * p.y + 4 * p.z + p.x * p.y * p.z; }

Field trilinearField()
{
    Field field;
    field.reset(4, 5, 6, Vector3D{0.5, 1.0, 0.25});
    field.moveTo({3, 2, 1});
    for (uint32 m = 0; m < field.size(); ++m) field[m] = trilinear(field.getPoint(m));
    return field;
}

}  // namespace

TEST(ScalarField3Evaluation, TrilinearIsExactOnTrilinearFields)
{
    const Field field = trilinearField();
    std::mt19937 random(1);
    std::uniform_real_distribution<double> unit(0, 1);
    const Vector3D low = field.getBox().min, extent = field.getBox().max - low;
    for (int n = 0; n < 2000; ++n)
    {
        const double x = unit(random), y = unit(random), z = unit(random);
        const Vector3D p = low + Vector3D{x * extent.x, y * extent.y, z * extent.z};
        const auto found = field.evalSafe(p, mode);
        ASSERT_TRUE(found.a);
        EXPECT_NEAR(found.b, trilinear(p), 1e-9);
        EXPECT_EQ(field.evalSafe(p, TX_FIELD_EVAL_SYMMETRIC), found);
        EXPECT_EQ(field.eval(p), found.b);
    }
}

TEST(ScalarField3Evaluation, OutsideIsFar)
{
    const Field field = trilinearField();
    const double nan = std::numeric_limits<double>::quiet_NaN(),
                 inf = std::numeric_limits<double>::infinity();
    Vector3D below = field.getBox().min, above = field.getBox().max;
    below.y = std::nextafter(below.y, -inf);
    above.z = std::nextafter(above.z, inf);
    for (const Vector3D& p : {below, above, Vector3D{nan, 2, 1}, Vector3D{3, nan, 1}, Vector3D{3, 2, inf},
                              Vector3D{-inf, 2, 1}, Vector3D{1e300, 1e300, 1e300}})
    {
        EXPECT_EQ(field.evalSafe(p, mode), (Tuple2<bool, double>{false, 3.4028234663852886e38}));
        double out = 0;
        EXPECT_FALSE(field.eval(p, out));
        EXPECT_EQ(out, 3.4028234663852886e38);
    }
    EXPECT_FALSE(Field{}.evalSafe({0, 0, 0}, mode).a);
    Field flat;
    flat.reset(2, 2, 2, 0.0);
    flat.set(1.0);
    EXPECT_FALSE(flat.evalSafe({0, 0, 0}, mode).a) << "a grid without extent has no cells";
}

TEST(ScalarField3Evaluation, ThresholdsRefuseCells)
{
    Field field;
    field.reset(3, 2, 2, 1.0);
    for (uint32 m = 0; m < field.size(); ++m) field[m] = m;  // the lower x cell holds 0..7, the upper 4..11
    const Vector3D low{-0.5, 0, 0}, high{0.5, 0, 0};
    EXPECT_EQ(field.evalSafe(low).b, 3.5);
    EXPECT_TRUE(field.evalSafe_useLessThanThreshold(low, 0, mode).a);
    EXPECT_FALSE(field.evalSafe_useLessThanThreshold(low, 0.5, mode).a);
    EXPECT_EQ(field.evalSafe_useLessThanThreshold(high, 4, mode), field.evalSafe(high));
    EXPECT_TRUE(field.evalSafe_useGreaterThanThreshold(low, 7, mode).a);
    EXPECT_FALSE(field.evalSafe_useGreaterThanThreshold(high, 10.5, mode).a);
    EXPECT_EQ(field.evalSafe_useGreaterThanThreshold(high, 10.5, mode).b, 3.4028234663852886e38);
}
