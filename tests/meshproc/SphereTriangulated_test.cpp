#include <tavrix/meshproc/SphereTriangulated.h>

#include <cmath>

#include <gtest/gtest.h>

#include <tavrix/mesh/MeshTopology.h>

#include "mesh/TestMeshes.h"

using namespace tavrix;
using Sphere = SphereTriangulated<double>;

TEST(SphereTriangulated, BothTablesAreClosedSpheresThatFaceOutwards)
{
    const struct
    {
        uint32 faces, positions;
        double offSphere, leastVolume, mostVolume,
            areaRatio;  // the largest face's area by the smallest one's
    } cases[] = {{20, 12, 1e-7, 2.53614, 2.53616, 1.000001}, {500, 252, 2e-6, 4.08, 4.18, 1.25}};
    for (const auto& c : cases)
    {
        const Sphere sphere(c.faces, 1.0);
        EXPECT_EQ(sphere.getNTriangles(), c.faces);
        ASSERT_EQ(sphere.getArrPos().size(), c.positions);
        for (const Vector3D& p : sphere.getArrPos()) EXPECT_NEAR(length(p), 1, c.offSphere);
        Mesh mesh;
        mesh.refPos() = sphere.getArrPos();
        mesh.refTrindexPos() = sphere.getArrTrindexPos();
        ASSERT_TRUE(hasValidIndices(mesh));
        const MeshTopology topology = computeTopology(mesh);
        EXPECT_TRUE(topology.isClosed() && topology.isConsistentlyOriented());
        EXPECT_EQ(topology.eulerCharacteristic(), 2);
        EXPECT_GT(signedVolume(mesh), c.leastVolume);
        EXPECT_LT(signedVolume(mesh), c.mostVolume);
        double least = 1, most = 0;
        for (const Index3& t : sphere.getArrTrindexPos())
        {
            const Vector3D& a = sphere.getArrPos()[t.a];
            const Vector3D n = cross(sphere.getArrPos()[t.b] - a, sphere.getArrPos()[t.c] - a);
            EXPECT_GT(dot(n, a), 0);
            least = std::fmin(least, length(n));
            most = std::fmax(most, length(n));
        }
        EXPECT_LT(most / least, c.areaRatio);
    }
}

TEST(SphereTriangulated, TheTablesAreAsTheyAlwaysWere)
{
    const Sphere small(20, 1.0), large(500, 1.0);
    EXPECT_EQ(test::checksum(small.getArrPos(), small.getArrTrindexPos()), 3425353811199921525u);
    EXPECT_EQ(test::checksum(large.getArrPos(), large.getArrTrindexPos()), 5866123954947697527u);
    EXPECT_EQ(SphereTriangulated<float>(500, 1.0f).getArrPos()[6].y, 0.4472116f);
}

TEST(SphereTriangulated, IsScaledMovedAndTurned)
{
    EXPECT_EQ(Sphere(7, 1.0).getNTriangles(), 0u);
    EXPECT_TRUE(Sphere(7, 2.0).getArrPos().empty());
    Sphere sphere(20, 2.0);
    EXPECT_EQ(sphere.getArrPos()[0], (Vector3D{0, 0, 2}));
    sphere.transformCoordinates(QuaternionD::fromHalfAngle({1, 0, 0}, std::sqrt(0.5), std::sqrt(0.5)));
    sphere.translateCoordinates({1, 2, 3});
    EXPECT_NEAR(length(sphere.getArrPos()[0] - Vector3D{1, 0, 3}), 0, 1e-15);
    sphere.set500Faces();
    EXPECT_EQ(Sphere(sphere).getArrPos(), Sphere(500, 1.0).getArrPos());
}
