#include <tavrix/fields/ScalarField3.h>

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <set>

using namespace tavrix;

namespace
{

using Field = ScalarField3<float, double>;

template <class F>
class EveryScalarField : public testing::Test
{
};

using Instantiations =
    testing::Types<ScalarField3<uint8, float>, ScalarField3<uint8, double>, ScalarField3<uint16, float>,
                   ScalarField3<uint16, double>, ScalarField3<uint32, float>, ScalarField3<uint32, double>,
                   ScalarField3<int32, float>, ScalarField3<int32, double>, ScalarField3<uint64, float>,
                   ScalarField3<uint64, double>, ScalarField3<float, float>, ScalarField3<float, double>,
                   ScalarField3<double, float>, ScalarField3<double, double>>;
TYPED_TEST_SUITE(EveryScalarField, Instantiations);

}  // namespace

TYPED_TEST(EveryScalarField, SizesReadsAndWrites)
{
    TypeParam field;
    EXPECT_EQ(field.getArrScalars().capacity(), 0u);
    field.reset(2, 3, 4, 1);
    EXPECT_EQ(field.getMemoryUsage(), 24 * sizeof(field.get(0u)));
    EXPECT_EQ(TypeParam::getMemoryUsagePrediction(2, 3, 4, 9), field.getMemoryUsage());
    field.setDefaultValue(5);
    field.set(1, 2, 3, 7);
    field.set(0, 5);
    EXPECT_EQ(field.get(uint64{0}), 5);
    EXPECT_EQ(field.inc(0, 0, 1), 6);
    EXPECT_EQ(field.dec(0, 0, 0), 4);
    auto min = field.get(0), max = min, mean = min;
    field.findMinMaxAvg(min, max, mean);
    EXPECT_EQ(min, 4);
    EXPECT_EQ(max, 7);
    EXPECT_NEAR(static_cast<double>(mean), 5, 0.2);  // (24 5 - 1 + 1 + 2) / 24
    EXPECT_EQ(field.eval(Index3{0, 0, 1}).b, 6);
    TypeParam target;
    target.reset(2, 3, 4, 1);
    target.setZero();
    EXPECT_TRUE(target.interpolate(TypeParam(field), target, 0.0));
    EXPECT_EQ(target.getArrScalars(), field.getArrScalars());
    field.reset(16, 16, 1, 1);  // a count that 8 bits do not hold
    field.set(201);
    field.findMinMaxAvg(min, max, mean);
    EXPECT_EQ(mean, 201);
    field.reset_toZeroSize();
    EXPECT_EQ(field.getMemoryUsage(), 0u);
}

TEST(ScalarField3, GridConventions)
{
    Field field;
    field.reset(3, 4, 5, Vector3D{1, 2, 0.5});
    EXPECT_EQ(field.getBox(), (Box3D{{-1, -3, -1}, {1, 3, 1}}));
    EXPECT_EQ(field.getPointSeparation(), 2.0);
    for (uint32 m = 0; m < field.size(); ++m)
    {
        const Index3 n{m / 20, m / 5 % 4, m % 5};
        EXPECT_EQ(field.getIndexes(m), n);
        EXPECT_EQ(field.getGrid().getMonoindex(n.a, n.b, n.c), m);
    }
    EXPECT_EQ(field.getBox3Points().points[6], field.getBox().max);
    EXPECT_EQ(field.getBox3Points_ex().points[7], field.getBox().max);
    field.moveTo({10, 20, 30});
    EXPECT_EQ(field.getBox(), (Box3D{{9, 17, 29}, {11, 23, 31}}));
    field.move({1, 1, 1});
    EXPECT_EQ(field.getBox(), (Box3D{{10, 18, 30}, {12, 24, 32}}));
    EXPECT_EQ(field.getGrid().getCell({10, 18, 30}), (Index3{0, 0, 0}));
    EXPECT_EQ(field.getGrid().getCell({12, 24, 32}), (Index3{2, 3, 4}));
    EXPECT_EQ(field.getGrid().getCell({9.99, 20, 31}), noCell);
    EXPECT_EQ(field.getGrid().getCell({13.1, 20, 31}), noCell);
    field.reset(0, 3, 4, 1.0);
    EXPECT_EQ((Index3{field.sizeX(), field.sizeY(), field.sizeZ()}), (Index3{0, 3, 4}));
    EXPECT_EQ(field.getBox(), (Box3D{{0, -1, -1.5}, {0, 1, 1.5}}));
    EXPECT_FALSE(field.evalSafe({0, 0, 0}).a);
}

TEST(ScalarField3, NodesLieInsideWhereverTheGridIsMoved)
{
    std::mt19937 random(5);
    const auto number = [&](double scale)
    { return (static_cast<double>(random()) / 4294967296.0 - 0.5) * scale; };
    for (int grid = 0; grid < 200; ++grid)
    {
        Field field;
        const Index3 size{2 + static_cast<uint32>(random() % 9), 1 + static_cast<uint32>(random() % 4), 7};
        field.reset(size.a, size.b, size.c, Vector3D{0.1, number(1) + 1, std::fabs(number(1e-3)) + 1e-6});
        field.moveTo({number(10), number(1000), number(1)});
        if (grid % 2) field.move({number(1), number(1), number(1)});
        if (grid % 3 == 0) field.alignAbsolute(0.1);
        EXPECT_EQ(field.getPoint(field.size() - 1), field.getBox().max);
        for (uint32 m = 0; m < field.size(); ++m) field[m] = static_cast<float>(m % 5);
        for (uint32 m = 0; m < field.size(); ++m)
            EXPECT_NEAR(field.evalSafe(field.getPoint(m)).b, field[m], 1e-5) << "far values outside";
    }
}

TEST(ScalarField3, AlignsItsMinCornerTowardsZero)
{
    Field field;
    field.reset(5, 5, 5, 1.0);
    field.moveTo({-1.2 + 2, 0.3 + 2, 2.74 + 2});
    field.alignAbsolute(0.5);
    EXPECT_LT(length(field.getBox().min - Vector3D{-1, 0, 2.5}), 1e-12);
}

TEST(ScalarField3, RefusesMoreNodesThanAnIndexHolds)
{
    Field field;
    field.reset(2, 2, 2, 1.0);
    field.set(3.0f);
    const uint32 large[][3] = {
        {65536, 65536, 1}, {1, 65536, 65536}, {4294967295u, 2, 1}, {2097152, 2097152, 2097152}};
    for (const auto& size : large)
        EXPECT_THROW(field.reset(size[0], size[1], size[2], 1.0), std::length_error);
    EXPECT_EQ(field.size(), 8u);
    EXPECT_EQ(field.get(7u), 3.0f);
    EXPECT_EQ(field.getBox().max.x, 0.5);
}

TEST(ScalarField3, SignaturesSeeEveryChange)
{
    Field field;
    field.reset(3, 5, 7, 1.0);
    for (uint32 m = 0; m < field.size(); ++m) field[m] = static_cast<float>(m % 3);
    std::set<uint64> seen{field.computeSignature_v1()};
    for (uint32 m = 0; m < field.size(); ++m)
    {
        field[m] += 0.5f;
        EXPECT_TRUE(seen.insert(field.computeSignature_v1()).second) << m;
        field[m] -= 0.5f;
    }
    Field moved(field), reshaped;
    moved.move({1, 0, 0});
    reshaped.reset(7, 5, 3, 1.0);
    reshaped.copyScalars(field);
    EXPECT_EQ(moved.computeSignature_v2(), field.computeSignature_v2());
    EXPECT_NE(moved.computeSignature_v3(), field.computeSignature_v3());
    EXPECT_EQ(reshaped.computeSignature_v1(), field.computeSignature_v1());
    EXPECT_NE(reshaped.computeSignature_v2(), field.computeSignature_v2());
}
