#include <tavrix/fields/ScalarField3Octree.h>

#include <algorithm>
#include <cmath>
#include <set>
#include <tuple>

#include <gtest/gtest.h>

using namespace tavrix;

namespace
{

using Field = ScalarField3Octree<double>;
using Corners = std::array<double, 8>;

double trilinear(const Vector3D& p) { return 1 + p.x - 2 * p.y + p.z * p.x + 0.5 * p.x * p.y * p.z; }
double kink(const Vector3D& p) { return std::fabs(p.x - 0.3); }

template <class Function>
Field::Sampler samplerOf(Function function)
{
    return [function](std::span<const Vector3D> points, std::span<double> values)
    {
        std::transform(points.begin(), points.end(), values.begin(), function);
        return true;
    };
}

bool never(const Box3D&, const Corners&) { return false; }

/// Fine is a cell that the plane x = 0.3 does not run through.
bool isOffPlane(const Box3D& cell, const Corners&) { return cell.max.x < 0.3 || cell.min.x > 0.3; }

TEST(ScalarField3Octree, IsTrilinearInEveryCellAndRefinesWhereItIsTold)
{
    Field field;
    const Box3D box{{-1, 0, 2}, {1, 1.5, 2.5}};
    ASSERT_EQ(field.build(box, {0.5, 5}, samplerOf(kink), isOffPlane), OctreeStatus::Done);
    EXPECT_EQ(field.box(), (Box3D{{-1, 0, 2}, {1, 1.5, 2.5}}));
    // four by three by one cubes; of every level the layer around the plane is halved
    EXPECT_EQ(field.cells().size(), 12u + 8 * 3 * (1 + 4 + 16 + 64 + 256));
    const double finest = 0.5 / 32;
    for (double x = -1; x <= 1; x += 0.01)
        EXPECT_NEAR(*field.evaluate({x, 0.77, 2.31}), kink({x, 0, 0}),
                    std::fabs(x - 0.3) < finest ? finest : 1e-12);

    ASSERT_EQ(field.build(box, {0.6, 1}, samplerOf(trilinear), never), OctreeStatus::Done);
    EXPECT_EQ(field.cells().size(), 12u * 9);  // the cubes reach beyond the box
    for (const Vector3D& p : {Vector3D{-1, 0, 2}, {0.37, 1.1, 2.2}, {1.39, 1.79, 2.59}, {0.8, 0.3, 2.3}})
        EXPECT_NEAR(*field.evaluate(p), trilinear(p), 1e-12);
    const double nan = std::nan("");
    for (const Vector3D& p : {Vector3D{-1.001, 0, 2}, {0, 1.81, 2}, {0, 0, nan}})
        EXPECT_FALSE(field.evaluate(p));
}

TEST(ScalarField3Octree, SamplesEachCornerOfALevelOnceForEveryThreadCount)
{
    Array<OctreeVoxelScalar<double>> first;
    for (const uint32 threads : {1u, 5u})
    {
        Field field;
        const auto sample = [](std::span<const Vector3D> points, std::span<double> values)
        {
            std::set<std::tuple<double, double, double>> asked;
            for (const Vector3D& p : points) EXPECT_TRUE(asked.insert({p.x, p.y, p.z}).second);
            return samplerOf(kink)(points, values);
        };
        ASSERT_EQ(field.build({{0, 0, 0}, {1, 1, 1}}, {0.25, 4, 1u << 20, threads}, sample, isOffPlane),
                  OctreeStatus::Done);
        if (first.empty()) first = field.cells();
        ASSERT_EQ(field.cells().size(), first.size());
        for (uint32 n = 0; n < first.size(); ++n)
        {
            EXPECT_EQ(field.cells()[n].children, first[n].children);
            EXPECT_EQ(field.cells()[n].corners, first[n].corners);
        }
    }
}

TEST(ScalarField3Octree, GivesUpAndRefusesWithAnEmptyField)
{
    const Box3D box{{0, 0, 0}, {1, 1, 1}};
    const auto fails = [](std::span<const Vector3D>, std::span<double>) { return false; };
    Field field;
    const auto ends = [&](const Box3D& in, const OctreeSettings& settings, const Field::Sampler& sample)
    {
        field.build(box, {0.5, 1}, samplerOf(kink), never);
        const OctreeStatus status = field.build(in, settings, sample, never);
        EXPECT_TRUE(field.cells().empty());
        EXPECT_FALSE(field.evaluate({0.5, 0.5, 0.5}));
        return status;
    };
    EXPECT_EQ(ends(box, {0.25, 3, 4671}, samplerOf(kink)), OctreeStatus::TooLarge);
    EXPECT_EQ(field.build(box, {0.25, 2, 4672}, samplerOf(kink), never), OctreeStatus::Done);
    EXPECT_EQ(ends(box, {0.25, 1}, fails), OctreeStatus::Stopped);
    EXPECT_EQ(ends(Box3D::empty(), {0.25, 1}, samplerOf(kink)), OctreeStatus::BadSettings);
    EXPECT_EQ(ends({{0, 0, 0}, {1, 1e300, 1}}, {0.25, 1}, samplerOf(kink)), OctreeStatus::BadSettings);
    for (const OctreeSettings& bad : {OctreeSettings{0, 1}, {-1, 1}, {0.01, 1}, {0.25, 17}})
        EXPECT_EQ(ends(box, bad, samplerOf(kink)), OctreeStatus::BadSettings);
}

}  // namespace
