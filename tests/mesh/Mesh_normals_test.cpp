#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>
#include <vector>

#include <tavrix/mesh/MeshTopology.h>

#include "mesh/TestMeshes.h"
#include "Polls.h"

using namespace tavrix;
using test::makeMesh;
using test::makeTerrain;
using test::makeTetrahedron;

static uint64 checksum(const Mesh& mesh) { return test::checksum(mesh.nor(), mesh.faceNor()); }

static void expectNear(const Vector3F& a, const Vector3D& b, double tolerance)
{
    EXPECT_LT(length(convert<double>(a) - b), tolerance);
}

TEST(MeshNormals, FacesWithoutAreaLeaveVertexNormalsAlone)
{
    Mesh mesh = makeMesh({{0, 0, 0}, {0, 1, 0}, {1, 0, 0}, {0, 3, 0}, {0, 0, 0}},
                         {{4, 0, 0}, {0, 1, 2}, {0, 1, 3}, {1, 1, 2}});
    mesh.recalculateNormals();
    for (const uint32 f : {0u, 2u, 3u}) EXPECT_EQ(mesh.faceNor()[f], (Wector3F{1, 0, 0, 0})) << f;
    for (const uint32 v : {0u, 1u, 2u}) EXPECT_EQ(mesh.nor()[v], (Vector3F{0, 0, -1})) << v;
    for (const uint32 v : {3u, 4u}) EXPECT_EQ(mesh.nor()[v], (Vector3F{0, 0, 1})) << "touched by no area";
}

TEST(MeshNormals, AgreeWithSumsInDoublePrecision)
{
    for (uint32 seed = 0; seed < 20; ++seed)
    {
        Mesh mesh = seed % 2 ? test::makeRandomSoup(40, 300 + seed, seed) : makeTerrain(5 + seed);
        if (seed % 3 == 0)
            for (Index3& t : mesh.refTrindexNor()) t = {t.b / 2, t.a, t.c};
        mesh.recalculateNormals();
        std::vector<Vector3D> sums(mesh.nor().size(), Vector3D{0, 0, 0});
        for (uint32 f = 0; f < mesh.getFacesSize(); ++f)
        {
            const Index3 t = mesh.trindexPos()[f];
            const Vector3D p[] = {mesh.pos()[t.a], mesh.pos()[t.b], mesh.pos()[t.c]};
            const Vector3D n = cross(p[1] - p[0], p[2] - p[0]);
            const double size = length(n);
            const Wector3F expected{static_cast<float>(n.x / size), static_cast<float>(n.y / size),
                                    static_cast<float>(n.z / size), static_cast<float>(size * 0.5)};
            ASSERT_EQ(mesh.faceNor()[f], size > 1e-28 ? expected : (Wector3F{1, 0, 0, 0}));
            for (uint32 c = 0; c < 3 && size > 0; ++c)
            {
                const Vector3D u = p[(c + 1) % 3] - p[c], v = p[(c + 2) % 3] - p[c];
                sums[mesh.trindexNor()[f][c]] += n * (std::atan2(length(cross(u, v)), dot(u, v)) / size);
            }
        }
        for (uint32 n = 0; n < sums.size(); ++n)
        {
            const double size = length(sums[n]);
            if (size > 0.1) expectNear(mesh.nor()[n], sums[n] * (1 / size), 2e-5 / size);
        }
    }
}

TEST(MeshNormals, EverySystemThreadCountAndFormGivesTheSameBytes)
{
    Mesh meshes[] = {makeTerrain(60), makeTerrain(420), test::makeRandomSoup(50, 3000, 9), makeTetrahedron()};
    for (Mesh& mesh : meshes)
    {
        mesh.recalculateNormals();
        const uint64 serial = checksum(mesh);
        if (&mesh == meshes) { EXPECT_EQ(serial, 2097783835127452154u); }
        for (const uint32 threads : {0u, 1u, 2u, 3u, 5u, 8u, 33u})
        {
            mesh.refNor().assign(mesh.nor().size(), Vector3F{7, 7, 7});
            mesh.refFaceNor().clear();
            mesh.recalculateNormalsParallelized(threads);
            EXPECT_EQ(checksum(mesh), serial) << threads;
        }
        Array<Vector3F> nor(mesh.nor().size());
        Array<Wector3F> faceNor;
        Mesh::staticCalculateNormals(mesh.pos(), mesh.trindexPos(), nor);
        Mesh::staticCalculateNormals(mesh.pos(), mesh.trindexPos(), faceNor);
        EXPECT_EQ(test::checksum(nor, faceNor), serial);
        mesh.refNor().assign(nor.size(), Vector3F{0, 0, 0});
        mesh.refFaceNor().clear();
        mesh.recalculateFaceNormals(3);
        mesh.recalculateVertexesNormals();
        EXPECT_EQ(checksum(mesh), serial);
    }
}

TEST(MeshNormals, PollsFollowTheWorkAndStopIt)
{
    const Mesh terrain = makeTerrain(420);
    for (const uint32 threads : {1u, 3u})
    {
        Mesh mesh = terrain;
        const std::pair<int, std::function<bool(CancelCallback)>> works[] = {
            {threads == 1 ? 20 : 4,
             [&](CancelCallback callback) { return mesh.recalculateNormalsParallelized(threads, callback); }},
            {20, [&](CancelCallback callback) { return mesh.createNormals(0.5, threads, callback); }},
            {4,
             [&](CancelCallback callback)
             {
                 mesh.refFaceNor().clear();
                 return mesh.confirmNormalsCalculated(threads, callback);
             }},
            {4, [&](CancelCallback callback)
             {
                 if (!mesh.getArrNorSurface().isNone()) mesh.releaseArray(mesh.getArrNorSurface());
                 return mesh.createSafe_arrNorSurface(threads, callback);
             }}};
        const auto isSound = [&]
        {
            ASSERT_TRUE(hasValidIndices(mesh));
            ASSERT_TRUE(mesh.norSurface().empty());
        };
        for (const auto& [least, work] : works) EXPECT_GT(test::stopAtPolls(7, work, isSound), least);
        mesh.createNormals(0.5);
        Mesh reference = terrain;
        reference.createNormals(0.5);
        EXPECT_EQ(checksum(mesh), checksum(reference));
        EXPECT_EQ(mesh.trindexNor(), reference.trindexNor());
    }
}

TEST(MeshNormals, WhereFacesCancelNormalsLieDownOutwards)
{
    Mesh folded = makeMesh({{0, 0, 0}, {2, 0, 0}, {0, 2, 0}}, {{0, 1, 2}, {0, 2, 1}});
    folded.recalculateNormals();
    const double h = std::sqrt(0.5), s = 1 / std::sqrt(5);
    expectNear(folded.nor()[0], {-h, -h, 0}, 1e-6);
    expectNear(folded.nor()[1], {2 * s, -s, 0}, 1e-6);
    expectNear(folded.nor()[2], {-s, 2 * s, 0}, 1e-6);

    Mesh doubleFan = makeMesh({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {-1, 0, 0}, {0, -1, 0}}, {});
    for (const Index3 t : {Index3{0, 1, 2}, {0, 2, 3}, {0, 3, 4}, {0, 4, 1}})
    {
        doubleFan.refTrindexPos().push_back(t);
        doubleFan.refTrindexPos().push_back({t.a, t.c, t.b});
    }
    doubleFan.recalculateNormals();
    EXPECT_EQ(doubleFan.nor()[0], (Vector3F{0, 0, 1}))
        << "outwards cancels in the middle: the first face decides";
    expectNear(doubleFan.nor()[1], {1, 0, 0}, 1e-6);
}

TEST(MeshNormals, StayUnitVectorsForCoordinatesOutOfRange)
{
    constexpr double inf = std::numeric_limits<double>::infinity();
    constexpr double nan = std::numeric_limits<double>::quiet_NaN();
    Mesh mesh = makeMesh({{0, 0, 0}, {1e200, 0, 0}, {0, 1e200, 0}, {inf, 0, 1}, {nan, 1, 0}, {1e-40, 0, 0}},
                         {{0, 1, 2}, {0, 1, 3}, {0, 2, 4}, {3, 4, 5}, {5, 0, 2}, {3, 2, 1}});
    mesh.recalculateNormals();
    for (const Vector3F& n : mesh.nor()) EXPECT_NEAR(length(n), 1, 1e-6);
}

TEST(MeshNormals, NormalArraysThatDoNotFitAreMadeToFit)
{
    Mesh expected = makeTetrahedron();
    expected.recalculateNormals();
    Mesh bare = makeMesh(expected.pos(), expected.trindexPos());
    bare.refNor().clear();
    bare.refTrindexNor().clear();
    bare.confirmNormalsCalculated();
    EXPECT_EQ(bare.nor(), expected.nor());
    EXPECT_EQ(bare.trindexNor(), expected.trindexPos());

    bare.refNor()[0] = {9, 9, 9};
    bare.confirmNormalsCalculated();
    EXPECT_EQ(bare.nor()[0], (Vector3F{9, 9, 9})) << "there are normals: they are left as they are";
    bare.refNor().resize(1);
    bare.confirmNormalsCalculated();
    EXPECT_EQ(bare.nor(), expected.nor());

    bare.refTrindexNor()[2].b = noIndex;
    bare.recalculateVertexesNormals();
    EXPECT_EQ(bare.nor(), expected.nor());
    Mesh empty;
    empty.destroy();
    empty.recalculateNormals();
    EXPECT_TRUE(empty.nor().empty());
}

TEST(MeshNormals, SmoothedNormalsAreOneAPositionAndFollowRecalculation)
{
    Mesh mesh = makeTetrahedron();
    mesh.createNormals(0);
    EXPECT_TRUE(mesh.getArrNorSurface().isNone());
    mesh.createSafe_arrNorSurface();
    Array<Vector3F> external;
    mesh.calculateVerticesSurfaceNormalExternal(external);
    EXPECT_EQ(external.size(), 4u);
    EXPECT_EQ(mesh.norSurface(), external);
    expectNear(mesh.norSurface()[0], Vector3D{-1, -1, -1} * std::sqrt(1.0 / 3), 1e-6);

    mesh.refPos()[3].z = -4;
    mesh.createSafe_arrNorSurface();
    EXPECT_EQ(mesh.norSurface(), external) << "there is one: nothing is computed";
    mesh.recalculateNormals();
    EXPECT_NE(mesh.norSurface(), external);
    mesh.invalidateConnectivity();
    EXPECT_FALSE(mesh.getArrNorSurface().isNone());
    EXPECT_EQ(Mesh(mesh).norSurface(), mesh.norSurface());
}

TEST(MeshNormals, CubePrimitiveIsTheBoxSeenFromOutside)
{
    Mesh mesh = makeTetrahedron();
    mesh.createSafe_PosConnectivityToPos();
    mesh.createSafe_arrTrindexFacedge();
    mesh.createCubePrimitive({{-1, -2, -3}, {1, 2, 3}});
    EXPECT_TRUE(mesh.getArrPosPosInfo().isNone());
    EXPECT_TRUE(mesh.trindexFacedge().empty());
    EXPECT_EQ(mesh.pos()[5], (Vector3D{1, -2, 3}));
    EXPECT_EQ(mesh.trindexPos()[3], (Index3{3, 7, 5}));
    EXPECT_EQ(mesh.trindexNor(), mesh.trindexPos());
    EXPECT_EQ(mesh.getBox(), (Box3D{{-1, -2, -3}, {1, 2, 3}}));
    EXPECT_EQ(mesh.faceNor().size(), 12u);
    for (uint32 i = 0; i < 8; ++i) EXPECT_GT(dot(mesh.pos()[i], convert<double>(mesh.nor()[i])), 0) << i;
}
