#include <tavrix/meshproc/SphereTriangulated.h>

#include <cmath>

#include <gtest/gtest.h>

#include <tavrix/mesh/MeshTopology.h>

#include "mesh/TestMeshes.h"

using namespace tavrix;
using Sphere = SphereTriangulated<double>;

TEST(SphereTriangulated, BothTablesAreTheClosedSpheresTheyAlwaysWere)
{
    const struct
    {
        uint32 faces, positions;
        double offSphere, leastVolume;
        uint64 checksum;
    } cases[] = {{20, 12, 1e-7, 2.53614, 3425353811199921525u}, {500, 252, 2e-6, 4.08, 5866123954947697527u}};
    for (const auto& c : cases)
    {
        const Sphere sphere(c.faces, 1.0);
        EXPECT_EQ(sphere.getNTriangles(), c.faces);
        ASSERT_EQ(sphere.getArrPos().size(), c.positions);
        EXPECT_EQ(test::checksum(sphere.getArrPos(), sphere.getArrTrindexPos()), c.checksum);
        for (const Vector3D& p : sphere.getArrPos()) EXPECT_NEAR(length(p), 1, c.offSphere);
        const Mesh mesh = test::makeMesh(sphere.getArrPos(), sphere.getArrTrindexPos());
        ASSERT_TRUE(hasValidIndices(mesh));
        const MeshTopology topology = computeTopology(mesh);
        EXPECT_TRUE(topology.isClosed() && topology.isConsistentlyOriented());
        EXPECT_EQ(topology.eulerCharacteristic(), 2);
        EXPECT_GT(signedVolume(mesh), c.leastVolume);
    }
}

TEST(SphereTriangulated, IsScaledMovedAndTurned)
{
    EXPECT_EQ(SphereTriangulated<float>(500, 1.0f).getArrPos()[6].y, 0.4472116f);
    EXPECT_TRUE(Sphere(7, 2.0).getArrPos().empty());
    Sphere sphere(20, 2.0);
    EXPECT_EQ(sphere.getArrPos()[0], (Vector3D{0, 0, 2}));
    sphere.transformCoordinates(QuaternionD::fromHalfAngle({1, 0, 0}, std::sqrt(0.5), std::sqrt(0.5)));
    sphere.translateCoordinates({1, 2, 3});
    EXPECT_NEAR(length(sphere.getArrPos()[0] - Vector3D{1, 0, 3}), 0, 1e-15);
    sphere.set500Faces();
    EXPECT_EQ(Sphere(sphere).getArrPos(), Sphere(500, 1.0).getArrPos());
}
