#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <random>

#include <spatial/TestSolids.h>
#include <tavrix/tavrix.h>

#include "Polls.h"

using namespace tavrix;

namespace
{

double volumeOf(const LevelSet& surface)
{
    Mesh mesh;
    surface.extractExplicitSurface(mesh);
    return signedVolume(mesh);
}

}  // namespace

TEST(LevelSetSampling, SolidsGrowShrinkAndBecomeHollow)
{
    for (const auto& [offset, wall, outer, inner] : {std::array{0.0, 0.0, 1.0, 0.0},
                                                     {0.3, 0, 1.3, 0},
                                                     {-0.3, 0, 0.7, 0},
                                                     {0.1, 0.4, 1.1, 0.7},
                                                     {0.6, 0, 1.6, 0}})
        for (const bool isMesh : {true, false})
        {
            const double spacing = 0.05;
            const LevelSetPlan plan =
                planLevelSet({{-1, -1, -1}, {1, 1, 1}}, LevelSetExtent::forOffset(spacing, offset, wall));
            Mesh mesh = test::makeSphere({0, 0, 0}, 1, 30);
            if (offset > 0) turnFaces(mesh);  // inside out as a whole
            LevelSet surface;
            bool wasTurned = false;
            const uint32 exact =
                isMesh ? sampleMesh(surface, mesh, plan, TX_IMPLICIT_SURFACE_SIGNED, 2, nullptr, &wasTurned)
                       : sampleParticles(surface, {{0, 0, 0}}, 1, plan, 2);
            EXPECT_GE(exact, 3u);
            EXPECT_LE(exact, 10u);
            EXPECT_EQ(wasTurned, isMesh && offset > 0);
            EXPECT_EQ(surface.getField().size(), plan.grid.nodeCount());
            EXPECT_GT(offsetOutwards(surface, offset), std::fabs(offset));  // as deep as the band is wide
            if (wall > 0) { EXPECT_GT(hollowOut(surface, wall), wall); }
            const double expected = 4.18879 * (std::pow(outer, 3) - std::pow(inner, 3));
            EXPECT_NEAR(volumeOf(surface), expected, 0.04 * expected) << offset << ' ' << wall;

            const LevelSet large = grownGrid(surface, 3);
            EXPECT_EQ(large.getField().sizeX(), surface.getField().sizeX() + 6);
            EXPECT_NEAR(volumeOf(large), volumeOf(surface), 1e-3);
        }
    LevelSet surface;
    const LevelSetPlan plan = planLevelSet({{-1, -1, -1}, {1, 1, 1}}, {0.1});
    const Mesh cube = test::makeCube(-0.5, 0.5);
    EXPECT_EQ(sampleMesh(surface, cube, plan, TX_IMPLICIT_SURFACE_SIGNED, 1, [] { return 1; }), 0u);
    EXPECT_EQ(surface.getField().size(), 0u);
}

TEST(LevelSetExtraction, IsClosedAndManifold)
{
    // few different samples, of which many are 0, so that sheets touch at nodes and reach the border
    uint32 contacts = 0;
    for (uint32 seed = 0; seed < 20; ++seed)
    {
        std::mt19937 random(seed);
        LevelSet surface;
        surface.reset(9, 8, 7, 0.3);
        surface.moveTo({seed * 0.7, 3, -50});
        for (uint32 n = 0; n < surface.getArraySize(); ++n)
            surface.set(
                n, static_cast<float>(static_cast<int>(random() % 4) - 1) * (seed % 3 == 0 ? 1.0f : 0.01f));
        ASSERT_TRUE(reachesBorder(surface));
        Mesh first;
        for (const uint32 threads : {1u, 3u})
        {
            Mesh mesh;
            const uint32 faces = extractClosed(surface, mesh, threads);
            EXPECT_EQ(faces, mesh.getFacesSize());
            const MeshTopology topology = computeTopology(mesh);
            EXPECT_TRUE(topology.isClosed() && topology.isConsistentlyOriented());
            EXPECT_EQ(topology.nonManifoldEdgeCount, 0u);
            EXPECT_EQ(topology.nonManifoldVertexCount, 0u);
            EXPECT_GT(signedVolume(mesh), 0);
            contacts += topology.selfContactCount;
            if (threads == 1) first = mesh;
            EXPECT_EQ(mesh.trindexPos(), first.trindexPos());
        }
    }
    EXPECT_GT(contacts, 100u);
    Mesh none;
    EXPECT_EQ(extractClosed(LevelSet(), none), 0u);
}

TEST(LevelSetSampling, EveryPollCanCancel)
{
    const Mesh mesh = test::makeSphere({0, 0, 0}, 1, 30);
    Mesh open = mesh;
    open.refTrindexPos().resize(open.getFacesSize() - 1);
    ImplicitSurface3Regular<float> surface;
    const auto meshInto = [&](const Mesh& from, uint32 threads)
    {
        return [&surface, &from, threads](CancelCallback callback)
        { return surface.init(from, 120, TX_IMPLICIT_SURFACE_SIGNED, threads, callback); };
    };
    const auto ballInto = [&](CancelCallback callback) {
        return surface.init_v2({Vector3F{0, 0, 0}}, {1}, 2.0 / 120, 2, callback);
    };
    const auto leavesNothing = [&] { EXPECT_EQ(surface.getField().size(), 0u); };
    EXPECT_GT(test::stopAtPolls(4, meshInto(mesh, 1), leavesNothing), 60);
    EXPECT_GT(test::stopAtPolls(4, meshInto(open, 3), leavesNothing), 60);
    EXPECT_GT(test::stopAtPolls(4, ballInto, leavesNothing), 100);
}
