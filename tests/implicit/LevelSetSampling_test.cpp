#include <gtest/gtest.h>

#include <cmath>

#include <spatial/TestSolids.h>
#include <tavrix/tavrix.h>

using namespace tavrix;

namespace
{

double volumeOfBall(double radius) { return 4.18879 * radius * radius * radius; }

double volumeOf(const LevelSet& surface)
{
    Mesh mesh;
    surface.extractExplicitSurface(mesh);
    return signedVolume(mesh);
}

}  // namespace

TEST(LevelSetSampling, SolidsGrowShrinkAndBecomeHollow)
{
    struct Case
    {
        double offset, wall, outer, inner;
    };
    for (const Case& c : {Case{0, 0, 1, 0}, Case{0.3, 0, 1.3, 0}, Case{-0.3, 0, 0.7, 0},
                          Case{0.1, 0.4, 1.1, 0.7}, Case{0.6, 0, 1.6, 0}})
        for (const bool isMesh : {true, false})
        {
            const double spacing = 0.05;
            const LevelSetPlan plan =
                planLevelSet({{-1, -1, -1}, {1, 1, 1}}, LevelSetExtent::forOffset(spacing, c.offset, c.wall));
            Mesh mesh = test::makeSphere({0, 0, 0}, 1, 30);
            if (c.offset > 0) turnFaces(mesh);  // inside out as a whole
            LevelSet surface;
            bool wasTurned = false;
            const uint32 exact =
                isMesh ? sampleMesh(surface, mesh, plan, TX_IMPLICIT_SURFACE_SIGNED, 2, nullptr, &wasTurned)
                       : sampleParticles(surface, {{0, 0, 0}}, 1, plan, 2);
            EXPECT_GE(exact, 3u);
            EXPECT_LE(exact, 10u);
            EXPECT_EQ(wasTurned, isMesh && c.offset > 0);
            EXPECT_EQ(surface.getField().size(), plan.grid.nodeCount());
            EXPECT_GT(offsetOutwards(surface, c.offset), std::fabs(c.offset));  // as deep as the band is wide
            if (c.wall > 0) { EXPECT_GT(hollowOut(surface, c.wall), c.wall); }
            const double expected = volumeOfBall(c.outer) - volumeOfBall(c.inner);
            EXPECT_NEAR(volumeOf(surface), expected, 0.04 * expected) << c.offset << ' ' << c.wall;

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
