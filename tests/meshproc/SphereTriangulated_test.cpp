#include <tavrix/meshproc/SphereTriangulated.h>

#include <cmath>

#include <gtest/gtest.h>

#include <tavrix/mesh/MeshTopology.h>

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

TEST(SphereTriangulated, TheTablesBeginAsTheyAlwaysDid)
{
    const Sphere small(20, 1.0), large(500, 1.0);
    EXPECT_EQ(small.getArrPos()[0], (Vector3D{0, 0, 1}));
    EXPECT_NEAR(small.getArrPos()[9].y, -std::sin(std::acos(-1.0) * 0.4) * 2 / std::sqrt(5.0), 1e-7);
    EXPECT_EQ(small.getArrTrindexPos()[14], (Index3{10, 1, 5}));
    const Array<Vector3D>& p = large.getArrPos();
    EXPECT_EQ(p[0], (Vector3D{0, -1, 0}));
    EXPECT_EQ(p[4], (Vector3D{-0.7236068, -0.4472156, -0.5257312}));
    EXPECT_EQ(p[10], (Vector3D{0.7236070, 0.4472116, -0.5257308}));
    EXPECT_EQ(p[13], (Vector3D{0.4285248, -0.9035319, 0}));
    EXPECT_NEAR(dot(p[14], p[15]), dot(p[12], p[13]), 5e-6);  // points on an edge lie at equal angles
    EXPECT_NEAR(dot(p[14], p[13]), dot(p[15], p[1]), 5e-6);
    const Index3 first[] = {{0, 12, 16},   {12, 13, 132}, {12, 132, 16},
                            {16, 132, 17}, {13, 14, 133}, {13, 133, 132}};
    for (uint32 n = 0; n < 6; ++n) EXPECT_EQ(large.getArrTrindexPos()[n], first[n]);
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
