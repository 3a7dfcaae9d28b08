#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include <spatial/TestSolids.h>
#include <tavrix/tavrix.h>

#include "LatticeSurfaces.h"

using namespace tavrix;
using test::makeSphere;
using test::makeTorus;

namespace
{

/// The surface of a whole grid of exact distances on the same lattice.
Mesh surfaceOfGrid(const Mesh& solid, const SolidSettings& s)
{
    const LevelSetPlan plan =
        planLevelSet(boxOfFaces(solid), LevelSetExtent::forOffset(s.spacing, s.offset, s.shell.value_or(0)));
    LevelSet surface;
    sampleMesh(surface, solid, plan, s.isSheet ? TX_IMPLICIT_SURFACE_UNSIGNED : TX_IMPLICIT_SURFACE_SIGNED,
               2);
    offsetOutwards(surface, s.offset);
    if (s.shell) hollowOut(surface, *s.shell);
    Mesh mesh;
    IsosurfaceExtractor3::extractMesh(surface.getField(), mesh, 0.0f, 0, 0, 0, 0, 0, 0, 2, nullptr, false);
    return mesh;
}

Mesh reshaped(const Mesh& solid, const SolidSettings& settings)
{
    Mesh mesh;
    EXPECT_EQ(reshapeSolid(solid, mesh, settings).status, SolidStatus::Done);
    return mesh;
}

}  // namespace

TEST(SolidSurface, SurfacesAreThoseOfAGrid)
{
    const double h = 0.0437;
    const Mesh solid = test::together(makeTorus(1, 0.4, 60), makeSphere({1, 0.2, 0.1}, 0.5, 40));
    Mesh sheet = makeTorus(1, 0.4, 60);
    sheet.refTrindexPos().resize(3000);
    for (const auto& [offset, shell, isSheet] : {std::tuple{0.0, 0.0, false},
                                                 {1.7 * h, 0.0, false},
                                                 {-1.9 * h, 0.0, false},
                                                 {0.6 * h, 2.2 * h, false},
                                                 {1.6 * h, 0.0, true}})
    {
        SolidSettings settings{.spacing = h, .offset = offset, .isSheet = isSheet, .cleanUp = false};
        if (shell > 0) settings.shell = shell;
        const Mesh& input = isSheet ? sheet : solid;
        const Mesh grid = surfaceOfGrid(input, settings);
        for (const uint32 threads : {1u, 3u})
        {
            settings.threadCount = threads;
            test::expectTheSameSurface(reshaped(input, settings), grid, h);
        }
    }
}

TEST(SolidSurface, CornersAndFacesMayLieOnNodes)
{
    for (const test::Solid& solid : test::closedSolids())
    {
        if (solid.tolerance == 0) continue;
        SCOPED_TRACE(solid.name);
        Mesh input = solid.mesh;
        weldVertices(input.refPos(), input.refTrindexPos(), std::vector{1e-9});  // the poles
        const Mesh mesh = reshaped(input, {.spacing = 0.125});
        EXPECT_TRUE(computeTopology(mesh).isClosed());
        double worst = 0;
        for (const Vector3D& p : mesh.pos()) worst = std::max(worst, std::fabs(solid.shape(p)));
        EXPECT_LT(worst, 0.09) << "edges are cut off";
    }
    Mesh open = makeTorus(1, 0.5);
    for (uint32 f = 0; f < 4000; f += 7) open.refTrindexPos()[f] = {0, 0, 0};
    EXPECT_FALSE(reshaped(open, {.spacing = 0.05}).isEmpty()) << "whatever";
}

TEST(SolidSurface, FarPartsAreBothThereAndTheInputMayBeTheOutput)
{
    const Mesh one = makeSphere({0, 0, 0}, 1);
    Mesh pair = test::together(one, makeSphere({1e6, 1e6, 1e6}, 1));
    const SolidSettings settings{.spacing = 0.05, .offset = 0.5};
    const SolidReport report = reshapeSolid(pair, pair, settings);
    ASSERT_EQ(report.status, SolidStatus::Done);
    EXPECT_LT(report.blocks, 600u);
    EXPECT_NEAR(signedVolume(reshaped(one, settings)), 4.18879 * 1.5 * 1.5 * 1.5, 0.1);
    EXPECT_EQ(pair.getFacesSize() % 2, 0u);
    EXPECT_EQ(countParts(pair), 2u);
}

TEST(SolidSurface, SaysWhyThereIsNoMesh)
{
    const Mesh solid = makeSphere({0, 0, 0}, 1);
    const auto end = [&](const Mesh& input, const SolidSettings& settings)
    {
        Mesh mesh = solid;
        const SolidReport report = reshapeSolid(input, mesh, settings);
        EXPECT_TRUE(mesh.isEmpty());
        if (report.status == SolidStatus::TooLarge) { EXPECT_GT(report.bytes, 1e5); }
        return report.status;
    };
    EXPECT_EQ(end({}, {.spacing = 0.1}), SolidStatus::NoFaces);
    EXPECT_EQ(end(solid, {.spacing = 1e-10}), SolidStatus::TooWide);
    EXPECT_EQ(end(solid, {.spacing = 0.05, .memory = 100000}), SolidStatus::TooLarge);
    Mesh mesh;
    const SolidReport report = reshapeSolid(solid, mesh, {.spacing = 0.05, .offset = -1.2});
    EXPECT_EQ(report.status, SolidStatus::NoSurface);
    EXPECT_NEAR(report.depth, 1, 0.03);

    int polls = 0;
    const auto run = [&](const ProgressCallback& progress)
    { return reshapeSolid(solid, mesh, {.spacing = 0.2, .shell = 0.3, .threadCount = 2}, progress).status; };
    ASSERT_EQ(run([&](const char*, double) { return ++polls > 0; }), SolidStatus::Done);
    for (int n = 0; n < polls; n += 1 + n / 10)
    {
        int left = n;
        EXPECT_EQ(run([&](const char*, double) { return left-- > 0; }), SolidStatus::Stopped) << n;
    }
}

TEST(SolidSurface, SpheresAreUnited)
{
    std::mt19937 engine{7};
    const auto unit = [&] { return static_cast<float>(engine() % 100001) / 100000.0f; };
    Array<Vector3F> centers{{NAN, 0, 0}};
    for (int n = 0; n < 60; ++n) centers.push_back({unit(), unit(), unit()});
    const double h = 0.0237, radius = 0.2;
    for (const double offset : {0.0, 2.3 * h})
    {
        const LevelSetPlan plan =
            planLevelSet({{-radius, -radius, -radius}, {1 + radius, 1 + radius, 1 + radius}},
                         LevelSetExtent::forOffset(h, offset));
        LevelSet surface;
        sampleParticles(surface, centers, radius, plan, 2);
        offsetOutwards(surface, offset);
        Mesh grid, mesh;
        surface.extractExplicitSurface(grid);
        const SolidSettings settings{.spacing = h, .offset = offset};
        ASSERT_EQ(reshapeSpheres(centers, radius, mesh, settings).status, SolidStatus::Done);
        EXPECT_TRUE(computeTopology(mesh).isClosed());
        EXPECT_NEAR(signedVolume(mesh), signedVolume(grid), 0.003);
        for (const Vector3D& p : mesh.pos())
        {
            double nearest = 1e9;
            for (uint32 n = 1; n < centers.size(); ++n)
                nearest = std::min(nearest, length(p - convert<double>(centers[n])));
            ASSERT_NEAR(nearest, radius + offset, 0.5 * h);
        }
    }
    Mesh all, hollow;
    ASSERT_EQ(reshapeSpheres(centers, radius, all, {.spacing = h}).status, SolidStatus::Done);
    ASSERT_EQ(reshapeSpheres(centers, radius, hollow, {.spacing = h, .offset = -0.05, .shell = 0.1}).status,
              SolidStatus::Done);
    EXPECT_GT(countParts(hollow), 1u);
    EXPECT_LT(signedVolume(hollow), 0.8 * signedVolume(all));
}
