#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <vector>

#include <tavrix/mesh/MeshTopology.h>

#include "mesh/TestMeshes.h"
#include "Polls.h"

namespace tavrix
{

namespace
{

using test::makeMesh;
using test::makeRandomSoup;
using test::makeTerrain;
using test::makeTetrahedron;

template <class T>
bool sameBytes(const Array<T>& a, const Array<T>& b)
{
    return a.size() == b.size() && std::memcmp(a.data(), b.data(), a.size() * sizeof(T)) == 0;
}

void expectNear(const Vector3F& a, const Vector3D& b, double tolerance)
{
    EXPECT_NEAR(a.x, b.x, tolerance);
    EXPECT_NEAR(a.y, b.y, tolerance);
    EXPECT_NEAR(a.z, b.z, tolerance);
}

double angleAt(const Vector3D& corner, const Vector3D& p, const Vector3D& q)
{
    return std::atan2(length(cross(p - corner, q - corner)), dot(p - corner, q - corner));
}

/// Vertex normals summed up in double precision, vertex by vertex.
std::vector<Vector3D> normalSums(const Mesh& mesh)
{
    std::vector<Vector3D> sums(mesh.nor().size(), Vector3D{0, 0, 0});
    for (uint32 f = 0; f < mesh.getFacesSize(); ++f)
        for (uint32 c = 0; c < 3; ++c)
        {
            const Index3 t = mesh.trindexPos()[f];
            const Vector3D p = mesh.pos()[t[c]], q = mesh.pos()[t[(c + 1) % 3]],
                           r = mesh.pos()[t[(c + 2) % 3]];
            const Vector3D n = cross(q - p, r - p);
            if (length(n) > 0) sums[mesh.trindexNor()[f][c]] += n * (angleAt(p, q, r) / length(n));
        }
    return sums;
}

TEST(MeshNormals, OneTriangleAndAnUnusedNormal)
{
    Mesh mesh = makeMesh({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {5, 5, 5}}, {{0, 1, 2}});
    mesh.recalculateNormals();
    EXPECT_EQ(mesh.faceNor(), Array<Wector3F>({{0, 0, 1, 0.5f}}));
    EXPECT_EQ(mesh.nor(), Array<Vector3F>(4, Vector3F{0, 0, 1}));
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
        Mesh mesh = seed % 2 ? makeRandomSoup(40, 300 + seed, seed) : makeTerrain(5 + seed);
        if (seed % 3 == 0)
            for (Index3& t : mesh.refTrindexNor()) t = {t.b / 2, t.a, t.c};
        mesh.recalculateNormals();
        const std::vector<Vector3D> sums = normalSums(mesh);
        for (uint32 n = 0; n < sums.size(); ++n)
        {
            const double size = length(sums[n]);
            if (size > 0.1) expectNear(mesh.nor()[n], sums[n] * (1 / size), 2e-5 / size);
        }
        for (uint32 f = 0; f < mesh.getFacesSize(); ++f)
        {
            const Index3 t = mesh.trindexPos()[f];
            const Vector3D n = cross(mesh.pos()[t.b] - mesh.pos()[t.a], mesh.pos()[t.c] - mesh.pos()[t.a]);
            const Wector3F expected{static_cast<float>(n.x / length(n)), static_cast<float>(n.y / length(n)),
                                    static_cast<float>(n.z / length(n)), static_cast<float>(length(n) * 0.5)};
            ASSERT_EQ(mesh.faceNor()[f], length(n) > 1e-28 ? expected : (Wector3F{1, 0, 0, 0}));
        }
    }
}

TEST(MeshNormals, EveryThreadCountGivesTheSameBytes)
{
    Mesh meshes[] = {makeTerrain(420), makeRandomSoup(50, 3000, 9), makeTetrahedron()};
    for (Mesh& mesh : meshes)
    {
        mesh.recalculateNormals();
        const Mesh serial = mesh;
        for (const uint32 threads : {0u, 1u, 2u, 3u, 5u, 8u, 33u})
        {
            mesh.refNor().assign(mesh.nor().size(), Vector3F{7, 7, 7});
            mesh.refFaceNor().clear();
            mesh.recalculateNormalsParallelized(threads);
            EXPECT_TRUE(sameBytes(mesh.nor(), serial.nor())) << threads;
            EXPECT_TRUE(sameBytes(mesh.faceNor(), serial.faceNor())) << threads;
        }
    }
}

TEST(MeshNormals, PollsFollowTheWorkAndStopIt)
{
    const Mesh terrain = makeTerrain(420);
    for (const uint32 threads : {1u, 3u})
    {
        Mesh mesh = terrain;
        const auto indicesHold = [&] { ASSERT_TRUE(hasValidIndices(mesh)); };
        const auto recalculate = [&](CancelCallback callback)
        { return mesh.recalculateNormalsParallelized(threads, callback); };
        EXPECT_GT(test::stopAtPolls(9, recalculate, indicesHold), threads == 1 ? 20 : 4);
        const auto create = [&](CancelCallback callback)
        { return mesh.createNormals(0.5, threads, callback); };
        EXPECT_GT(test::stopAtPolls(9, create, indicesHold), 20);
        const auto confirm = [&](CancelCallback callback)
        {
            mesh.refFaceNor().clear();
            return mesh.confirmNormalsCalculated(threads, callback);
        };
        EXPECT_GT(test::stopAtPolls(5, confirm, indicesHold), 4);
        const auto smooth = [&](CancelCallback callback)
        {
            if (!mesh.getArrNorSurface().isNone()) mesh.releaseArray(mesh.getArrNorSurface());
            return mesh.createSafe_arrNorSurface(threads, callback);
        };
        EXPECT_GT(test::stopAtPolls(5, smooth, [&] { EXPECT_TRUE(mesh.norSurface().empty()); }), 4);
        mesh.createNormals(0.5);
        Mesh reference = terrain;
        reference.createNormals(0.5);
        EXPECT_TRUE(sameBytes(mesh.nor(), reference.nor()));
        EXPECT_EQ(mesh.trindexNor(), reference.trindexNor());
    }
}

/// FNV-1a over the bytes.
template <class T>
uint64 checksum(const Array<T>& array)
{
    uint64 hash = 14695981039346656037u;
    const auto* bytes = reinterpret_cast<const unsigned char*>(array.data());
    for (std::size_t i = 0; i < array.size() * sizeof(T); ++i) hash = (hash ^ bytes[i]) * 1099511628211u;
    return hash;
}

TEST(MeshNormals, EverySystemGivesTheSameBytes)
{
    Mesh mesh = makeTerrain(60);
    mesh.recalculateNormals();
    EXPECT_EQ(checksum(mesh.nor()), 5337729528980631934u);
    EXPECT_EQ(checksum(mesh.faceNor()), 9974663232797174453u);
}

TEST(MeshNormals, TheSmallerFormsGiveTheSameBytes)
{
    Mesh mesh = makeTerrain(20);
    mesh.recalculateNormals();
    Array<Vector3F> nor(mesh.nor().size());
    Array<Wector3F> faceNor;
    Mesh::staticCalculateNormals(mesh.pos(), mesh.trindexPos(), nor);
    Mesh::staticCalculateNormals(mesh.pos(), mesh.trindexPos(), faceNor);
    EXPECT_TRUE(sameBytes(nor, mesh.nor()));
    EXPECT_TRUE(sameBytes(faceNor, mesh.faceNor()));
    mesh.refNor().assign(nor.size(), Vector3F{0, 0, 0});
    mesh.refFaceNor().clear();
    mesh.recalculateFaceNormals();
    mesh.recalculateVertexesNormals();
    EXPECT_TRUE(sameBytes(nor, mesh.nor()));
    EXPECT_TRUE(sameBytes(faceNor, mesh.faceNor()));
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
    const Mesh expected = []
    {
        Mesh m = makeTetrahedron();
        m.recalculateNormals();
        return m;
    }();
    Mesh bare;
    bare.refPos() = expected.pos();
    bare.refTrindexPos() = expected.trindexPos();
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
    MeshArrayInf inf;
    ASSERT_TRUE(mesh.getMeshArrayInf(inf, mesh.getArrNorSurface()));
    EXPECT_EQ(inf.flags, 524288u | 131072 | 1);
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
    EXPECT_EQ(mesh.getFlags() & 1, 0u);
    EXPECT_EQ(mesh.getBox(), (Box3D{{-1, -2, -3}, {1, 2, 3}}));
    for (uint32 f = 0; f < 12; ++f)
    {
        const Wector3F n = mesh.faceNor()[f];
        EXPECT_GT(dot(mesh.pos()[mesh.trindexPos()[f].a], Vector3D{n.x, n.y, n.z}), 0) << f;
    }
    for (uint32 i = 0; i < 8; ++i) EXPECT_GT(dot(mesh.pos()[i], convert<double>(mesh.nor()[i])), 0) << i;
}

}  // namespace

}  // namespace tavrix
