#include <tavrix/spatial/AdaptiveDistance.h>

#include <cmath>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <tavrix/mesh/MeshTopology.h>
#include <tavrix/meshproc/SphereTriangulated.h>
#include <tavrix/spatial/MeshCollider.h>

#include "Polls.h"
#include "spatial/TestSolids.h"

using namespace tavrix;
using namespace tavrix::test;

namespace
{

using Status = OctreeStatus;

std::vector<Vector3D> pointsIn(const Box3D& box, uint32 count)
{
    std::mt19937 random(1);
    std::vector<Vector3D> points(count);
    for (Vector3D& p : points)
        for (uint32 axis = 0; axis < 3; ++axis)
            p[axis] = box.min[axis] +
                      (box.max[axis] - box.min[axis]) * (static_cast<double>(random()) / 4294967295.0);
    return points;
}

double longestSide(const Box3D& box)
{
    const Vector3D size = box.max - box.min;
    return std::max({size.x, size.y, size.z});
}

struct Case
{
    std::string name;
    Mesh mesh;
    bool isSigned;
};

Mesh ballAt(const Vector3D& center, double radius)
{
    Mesh mesh;
    const SphereTriangulated<double> ball(500, radius);
    mesh.refPos() = ball.getArrPos();
    mesh.refTrindexPos() = ball.getArrTrindexPos();
    for (Vector3D& p : mesh.refPos()) p = center + p;
    return mesh;
}

/// Round faces, sharp edges, overlapping parts, parts that share a face, a cavity; and sheets that enclose
/// nothing.
std::vector<Case> cases()
{
    std::vector<Case> cases{
        {"torus", makeTorus(1, 0.5), true},
        {"ball and cube", together(ballAt({0, 0, 0}, 1), makeCube(-0.5, 0.9)), true},
        {"cubes that share a face", together(makeCube(-1, 1), makeCube(-1, 1, {2, 0, 0})), true},
        {"ball with a cavity", together(ballAt({0, 0, 0}, 1), flipped(ballAt({0.2, 0.1, 0.3}, 0.4))), true},
    };
    Mesh sheets;
    for (const double z : {0.0, 0.1})
        for (const Vector3D& p : {Vector3D{0, 0, z}, {1, 0, z}, {1, 1, z}, {0, 1, z}})
            sheets.refPos().push_back(p);
    sheets.refTrindexPos() = Array<Index3>{{0, 1, 2}, {0, 2, 3}, {4, 5, 6}, {4, 6, 7}};
    cases.push_back({"two sheets near each other", sheets, false});
    return cases;
}

TEST(AdaptiveDistance, ErrorsAreBelowTheTolerance)
{
    for (const Case& one : cases())
    {
        SCOPED_TRACE(one.name);
        MeshCollider collider;
        collider.create(one.mesh);
        const Box3D box = boxOfFaces(one.mesh).widened(0.3);
        for (const double part : {0.05, 0.015})
        {
            AdaptiveDistanceSettings settings;
            settings.tolerance = part * longestSide(box);
            settings.isSigned = one.isSigned;
            ScalarField3Octree<float> field;
            ASSERT_EQ(sampleDistance(collider, box, settings, field), Status::Done);
            double worst = 0;
            for (const Vector3D& p : pointsIn(box, 5000))
            {
                const double exact =
                    one.isSigned ? collider.signedDistance(p) : collider.nearestPoint(p)->distance;
                worst = std::max(worst, std::fabs(*field.evaluate(p) - exact));
            }
            EXPECT_LE(worst, settings.tolerance);
            EXPECT_GT(worst, settings.tolerance / 10) << "is finer than it has to be";

            settings.threadCount = 5;
            ScalarField3Octree<float> again;
            ASSERT_EQ(sampleDistance(collider, box, settings, again), Status::Done);
            ASSERT_EQ(again.cells().size(), field.cells().size());
            for (uint32 n = 0; n < field.cells().size(); ++n)
                ASSERT_EQ(again.cells()[n].corners, field.cells()[n].corners) << n;
        }
    }
}

TEST(AdaptiveDistance, ManyPointsAreAnsweredWithinTheToleranceAndFewExactly)
{
    MeshCollider collider;
    collider.create(together(ballAt({0, 0, 0}, 1), makeCube(-0.5, 0.9)));
    const Box3D box{{-1, -1, -1}, {1, 1, 1}};
    std::vector<Vector3D> points = pointsIn(box, 60000);
    points[7] = {std::numeric_limits<double>::quiet_NaN(), 0, 0};
    Array<double> exact, within;
    ASSERT_TRUE(collider.signedDistances(points, exact));
    ASSERT_TRUE(signedDistances(collider, points, 0.1, within, 3));
    ASSERT_EQ(within.size(), exact.size());
    uint32 differing = 0;
    for (uint32 n = 0; n < exact.size(); ++n)
    {
        differing += within[n] != exact[n];
        ASSERT_TRUE(n == 7 || std::fabs(within[n] - exact[n]) <= 0.1) << n;
    }
    EXPECT_EQ(within[7], std::numeric_limits<double>::infinity());
    EXPECT_GT(differing, exact.size() / 2);
    // too fine to pay
    ASSERT_TRUE(signedDistances(collider, points, 1e-4, within));
    for (uint32 n = 0; n < exact.size(); ++n) ASSERT_EQ(within[n], exact[n]);
    const auto run = [&](CancelCallback callback)
    { return signedDistances(collider, points, 0.1, within, 1, callback); };
    EXPECT_GT(stopAtPolls(4, run, [&] { EXPECT_TRUE(within.empty()); }), 4);
}

TEST(AdaptiveDistance, RefusesWhatHasNoAnswer)
{
    const Box3D box{{0, 0, 0}, {1, 1, 1}};
    MeshCollider collider, nothing;
    collider.create(together(ballAt({0, 0, 0}, 1), makeCube(-0.5, 0.9)));
    ScalarField3Octree<float> field;
    EXPECT_EQ(sampleDistance(nothing, box, {0.1}, field), Status::BadSettings);
    for (const double tolerance : {0.0, -1.0, 1e-9, std::nan("")})
        EXPECT_EQ(sampleDistance(collider, box, {tolerance}, field), Status::BadSettings);
    EXPECT_EQ(sampleDistance(collider, Box3D::empty(), {0.1}, field), Status::BadSettings);
    EXPECT_EQ(sampleDistance(collider, box, {0.001, true, 10000}, field), Status::TooLarge);
    Mesh open = makeTorus(1, 0.3);
    open.refTrindexPos().resize(open.getFacesSize() - 1);
    collider.create(open);
    EXPECT_EQ(sampleDistance(collider, box, {0.1}, field), Status::BadSettings) << "has no inside";
}

}  // namespace
