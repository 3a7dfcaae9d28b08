#include <tavrix/mesh/MeshRepair.h>

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <map>
#include <random>
#include <tuple>
#include <utility>

#include <Polls.h>
#include <tavrix/foundation/ElementaryFunctions.h>
#include <tavrix/mesh/MeshCavities.h>
#include <tavrix/mesh/MeshTopology.h>
#include <tavrix/mesh/SheetSeparation.h>

#include "mesh/TestMeshes.h"

namespace tavrix
{

namespace
{

/// A torus of 2 n n faces, which look outwards.
Mesh makeTorus(uint32 n, double tube)
{
    Mesh torus;
    for (uint32 i = 0; i < n; ++i)
        for (uint32 k = 0; k < n; ++k)
        {
            const double u = 2 * piValue * i / n, v = 2 * piValue * k / n, r = 2 + tube * std::cos(v);
            torus.refPos().push_back({r * std::cos(u), r * std::sin(u), tube * std::sin(v)});
            const uint32 a = i * n + k, b = (i + 1) % n * n + k, c = i * n + (k + 1) % n,
                         d = (i + 1) % n * n + (k + 1) % n;
            torus.refTrindexPos().push_back({a, b, d});
            torus.refTrindexPos().push_back({a, d, c});
        }
    return torus;
}

/// Every face with corners of its own.
Mesh asSoup(const Mesh& mesh)
{
    Mesh soup;
    for (const Index3& face : mesh.trindexPos())
    {
        const uint32 first = soup.getPosSize();
        for (uint32 c = 0; c < 3; ++c) soup.refPos().push_back(mesh.pos()[face[c]]);
        soup.refTrindexPos().push_back({first, first + 1, first + 2});
    }
    return soup;
}

TEST(MeshRepair, JoinsWhatIsEqual)
{
    // few different coordinates, among them both zeros, both infinities and several numbers that are none
    const double nan = std::bit_cast<double>(uint64{0x7FF8000000000001}), otherNan = -nan, big = 1e300;
    const double values[] = {0.0, -0.0, 1, -1, big * big, -big * big, nan, otherNan, 5e-324};
    std::mt19937 random(7);
    Mesh mesh;
    for (uint32 n = 0; n < 9000; ++n)
        mesh.refPos().push_back({values[random() % 9], values[random() % 9], values[random() % 9]});
    for (uint32 n = 0; n < 3000; ++n) mesh.refTrindexPos().push_back({3 * n, 3 * n + 1, 3 * n + 2});
    using Key = std::tuple<uint64, uint64, uint64>;
    const auto bits = [](double value) { return std::bit_cast<uint64>(value + 0.0); };
    std::map<Key, uint32> firsts;
    for (uint32 n = 0; n < 9000; ++n)
    {
        const Vector3D& p = mesh.pos()[n];
        firsts.emplace(Key{bits(p.x), bits(p.y), bits(p.z)}, n);
    }
    EXPECT_EQ(joinEqualPositions(mesh), 9000 - firsts.size());
    for (uint32 n = 0; n < 9000; ++n)
    {
        const Vector3D& p = mesh.pos()[n];
        EXPECT_EQ(mesh.trindexPos()[n / 3][n % 3], (firsts[Key{bits(p.x), bits(p.y), bits(p.z)}]));
    }
}

TEST(MeshRepair, OrientsPartsOutwards)
{
    std::mt19937 random(3);
    for (uint32 round = 0; round < 20; ++round)
    {
        Mesh mesh = test::makeCube();
        mesh.addMesh(test::makeTetrahedron());
        const double volume = signedVolume(mesh);
        uint32 turned = 0;
        for (Index3& face : mesh.refTrindexPos())
            if (random() % 3 == 0)
            {
                std::swap(face.a, face.b);
                ++turned;
            }
        const uint32 faces = mesh.getFacesSize();
        EXPECT_EQ(orientMixedParts(mesh) > 0, turned > 0);
        EXPECT_DOUBLE_EQ(signedVolume(mesh), volume);
        EXPECT_TRUE(computeTopology(mesh).isConsistentlyOriented());
        EXPECT_EQ(mesh.getFacesSize(), faces);
    }
}

TEST(MeshRepair, EveryPollCanStopIt)
{
    const Mesh torus = makeTorus(220, 1);
    Mesh crossed = asSoup(torus);
    for (uint32 f = 0; f < crossed.getFacesSize(); f += 3)
        std::swap(crossed.refTrindexPos()[f].a, crossed.refTrindexPos()[f].b);
    Mesh joined = crossed;
    joinEqualPositions(joined);
    Mesh hollow = torus, inner = makeTorus(220, 0.5);
    turnFaces(inner);
    hollow.addMesh(inner);
    Mesh touching = joined;
    touching.refTrindexPos().push_back({0, 1, 2});
    const auto expectStops = [](const Mesh& before, int least, auto work)
    {
        Mesh mesh;
        const auto run = [&](CancelCallback callback)
        {
            mesh.copyAllFrom(before, true);
            return work(mesh, callback);
        };
        const auto isUnchanged = [&]
        {
            EXPECT_EQ(mesh.trindexPos(), before.trindexPos());
            EXPECT_EQ(mesh.getPosSize(), before.getPosSize());
        };
        EXPECT_GE(test::stopAtPolls(5, run, isUnchanged), least);
        EXPECT_TRUE(run(nullptr));
    };
    expectStops(crossed, 10, [](Mesh& m, CancelCallback stop) { return joinEqualPositions(m, stop) > 0; });
    expectStops(joined, 10, [](Mesh& m, CancelCallback stop) { return orientMixedParts(m, stop) > 0; });
    expectStops(touching, 20,
                [](Mesh& m, CancelCallback stop)
                { return !separateSheets(m, BackToBack::Drop, stop).isNone(); });
    expectStops(hollow, 20, [](Mesh& m, CancelCallback stop) { return fillCavities(m, stop).cavities == 1; });
    expectStops(hollow, 10,
                [](Mesh& m, CancelCallback stop) { return countPartsAndCavities(m, stop).parts == 2; });
    expectStops(joined, 20,
                [](Mesh& m, CancelCallback stop) { return computeTopology(m, stop).faceCount > 0; });
}

}  // namespace

}  // namespace tavrix
