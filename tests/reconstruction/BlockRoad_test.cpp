// Surfaces that are made block by block are those of a dense field on the same lattice.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>

#include <tavrix/fields/detail/AnisotropicKernels.h>
#include <tavrix/reconstruction/detail/BlockRoad.h>
#include <tavrix/tavrix.h>

#include "LatticeSurfaces.h"

using namespace tavrix;
using namespace tavrix::detail;
using tavrix::test::expectTheSameSurface;

namespace
{

/// Spacings that divide nothing.
constexpr double spacing = 0.0237;

/// Particles in a ball, in a thin sheet, and here and there, around a place.
struct Scene
{
    Array<Vector3F> positions;
    Array<float> radii, weights;
};

Scene randomScene(uint32 seed, const Vector3F& place)
{
    std::mt19937 engine{seed};
    const auto unit = [&] { return static_cast<float>(engine() % 100001) / 100000.0f; };
    Scene scene;
    for (uint32 n = 0; n < 2500; ++n)
    {
        Vector3F p{2 * unit() - 1, 2 * unit() - 1, 2 * unit() - 1};
        if (n % 3 == 0) p *= 0.4f / std::max(length(p), 0.1f) * unit();
        if (n % 3 == 1) p = {p.x * 0.8f, p.y * 0.8f, 0.7f + 0.02f * p.z};
        scene.positions.push_back(p + place);
        scene.radii.push_back(0.03f + 0.05f * unit());
        scene.weights.push_back(0.2f + unit());
    }
    return scene;
}

template <class Kernel, class Make>
Mesh surfaceByBlocks(const Kernel& kernel, uint32 count, Make make, float level, bool joins = false,
                     uint32 threadCount = 2)
{
    Polling none(nullptr);
    BlockRoad<Kernel> road({kernel, spacing, level, {joins, false, 1e12, 0, 0, threadCount}}, none);
    MeshPart made;
    EXPECT_EQ(road.sort(count, make), BlockRoadEnd::Done);
    EXPECT_EQ(road.extract(made), BlockRoadEnd::Done);
    return std::move(made.mesh);
}

/// The dense road: a field on the same lattice that set(field, margin) fills, and its surface.
template <class Set>
Mesh surfaceOfField(const Array<Vector3F>& positions, double reach, float level, Set set)
{
    const GridFit grid = fitGrid(boxAround(positions), reach, spacing);
    ScalarField3<float, double> field;
    field.reset(grid.size().a, grid.size().b, grid.size().c, spacing);
    field.moveTo(grid.center);
    set(field, static_cast<float>(reach + spacing));
    Mesh mesh;
    IsosurfaceExtractor3::extractMesh(field, mesh, level, 0, 0, 0, 0, 0, 0, 2, nullptr, false);
    turnFaces(mesh);
    return mesh;
}

/// Balls of a scene as numbered particles.
auto ballsOf(const Scene& s)
{
    return [&s](uint32 n) {
        return Particle{s.positions[n].x, s.positions[n].y, s.positions[n].z, s.radii[n]};
    };
}

const BallKernel metaball = metaballKernel(60);

}  // namespace

TEST(BlockRoad, SurfacesAreThoseOfADenseField)
{
    for (uint32 seed = 0; seed < 3; ++seed)
    {
        const Scene s = randomScene(seed, {0.3f * static_cast<float>(seed), -0.4f, 7.1f});
        const auto count = s.positions.size();
        const auto ball = ballsOf(s);
        {
            SCOPED_TRACE("metaball");
            expectTheSameSurface(
                surfaceByBlocks(metaball, count, ball, 1),
                surfaceOfField(s.positions, 0.08 * metaball.reach, 1,
                               [&](auto& field, float margin)
                               { field.setMetaballField(s.positions, s.radii, margin, 60, 2); }),
                spacing);
        }
        {
            SCOPED_TRACE("distance");
            expectTheSameSurface(surfaceByBlocks(distanceKernel, count, ball, 0.3f),
                                 surfaceOfField(s.positions, 0.16, 0.3f,
                                                [&](auto& field, float margin)
                                                { field.setDistanceField(s.positions, s.radii, margin, 2); }),
                                 spacing);
        }
        const auto weighted = [&](uint32 n)
        {
            const Vector3F& p = s.positions[n];
            return Ellipsoid::ball(p.x, p.y, p.z, s.radii[n] * 2.5f, s.weights[n]);
        };
        {
            SCOPED_TRACE("largest weight");
            expectTheSameSurface(
                surfaceByBlocks(EllipsoidKernel{SplatMerge::Maximum}, count, weighted, 0.25f),
                surfaceOfField(
                    s.positions, 0.2, 0.25f,
                    [&](auto& field, float margin)
                    { field.setWeigthDistanceField(s.positions, s.radii, s.weights, margin, 2.5f, 2); }),
                spacing);
        }
        {
            SCOPED_TRACE("sum of weights");
            expectTheSameSurface(surfaceByBlocks(EllipsoidKernel{SplatMerge::Sum}, count, weighted, 0.5f),
                                 surfaceOfField(s.positions, 0.2, 0.5f,
                                                [&](auto& field, float margin) {
                                                    field.setWeigthDistanceField_v2(
                                                        s.positions, s.radii, s.weights, margin, 2.5f, 2);
                                                }),
                                 spacing);
        }
        {
            SCOPED_TRACE("anisotropic");
            AnisotropicKernels kernels(s.positions, s.radii, {}, 2, nullptr);
            ASSERT_TRUE(kernels.measureNeighbourhoods() && kernels.fitEllipsoids() && kernels.fitBoxes());
            const Array<Ellipsoid>& ellipsoids = kernels.ellipsoids();
            expectTheSameSurface(
                surfaceByBlocks(
                    EllipsoidKernel{SplatMerge::Sum}, count, [&](uint32 n) { return ellipsoids[n]; }, 0.4f),
                surfaceOfField(s.positions, 0.2, 0.4f,
                               [&](auto& field, float margin) {
                                   field.setAnisotropyDistanceField(s.positions, s.radii, margin,
                                                                    AnisotropySettings{}, 2);
                               }),
                spacing);
        }
    }
}

TEST(BlockRoad, ThreadsAndTheOrderOfBlocksDoNotShow)
{
    const Scene s = randomScene(5, {});
    const Mesh first = surfaceByBlocks(metaball, s.positions.size(), ballsOf(s), 1, true, 1);
    for (const uint32 threads : {2u, 7u})
    {
        const Mesh mesh = surfaceByBlocks(metaball, s.positions.size(), ballsOf(s), 1, true, threads);
        EXPECT_EQ(mesh.pos(), first.pos());
        EXPECT_EQ(mesh.trindexPos(), first.trindexPos());
    }

    Polling none(nullptr);
    const LatticeSteps steps{{1 / spacing, 1 / spacing, 1 / spacing}, spacing};
    const auto extent = measureExtent(steps, metaball, s.positions.size(), 2, none, ballsOf(s));
    const auto particles = sortIntoBlocks(steps, extent, metaball, s.positions.size(), 2, none, ballsOf(s));
    std::vector<BlockIndex> blocks = blocksReached(particles);
    std::mt19937 engine{1};
    for (std::size_t n = blocks.size(); n > 1; --n) std::swap(blocks[n - 1], blocks[engine() % n]);
    std::vector<ParticleFinder<BallKernel>> finders;
    for (uint32 w = 0; w < 2; ++w) finders.emplace_back(particles, metaball, 1.0f, none);
    BlockExtraction<ParticleFinder<BallKernel>> extraction(std::move(finders), none);
    ASSERT_TRUE(extraction.run(blocks, 1e12));
    Mesh mesh;
    ASSERT_TRUE(assembleMesh(extraction.surfaces(), 2, none, mesh) &&
                joinAtNodes(listNodeVertices(extraction.surfaces()), 2, none, mesh));
    EXPECT_EQ(mesh.pos(), first.pos());
    EXPECT_EQ(mesh.trindexPos(), first.trindexPos());
}

TEST(BlockRoad, AFarSceneChangesNothing)
{
    Scene s = randomScene(6, {0.1f, 0, -3});
    const Mesh alone = surfaceByBlocks(metaball, s.positions.size(), ballsOf(s), 1);
    // one word of block bits, two, and four
    for (const Vector3F& far :
         {Vector3F{100, 0, 0}, Vector3F{3e5f, 1e4f, -1e5f}, Vector3F{4e7f, -4e7f, 4e7f}})
    {
        Scene both = s;
        both.positions.push_back(far);
        both.radii.push_back(0.1f);
        const Mesh mesh = surfaceByBlocks(metaball, both.positions.size(), ballsOf(both), 1);
        const uint32 vertices = alone.getPosSize(), faces = alone.getFacesSize();
        ASSERT_GT(mesh.getPosSize(), vertices + 100);
        EXPECT_TRUE(std::equal(alone.pos().begin(), alone.pos().end(), mesh.pos().begin()));
        EXPECT_TRUE(
            std::equal(alone.trindexPos().begin(), alone.trindexPos().end(), mesh.trindexPos().begin()));
        for (uint32 v = vertices; v < mesh.getPosSize(); ++v)
            EXPECT_NEAR(length(mesh.pos()[v] - convert<double>(far)), 0.1, 0.02);
        EXPECT_GE(mesh.trindexPos()[faces].a, vertices);
    }
}

TEST(BlockRoad, SaysBeforehandWhatItTakes)
{
    const Scene s = randomScene(7, {});
    const auto run = [&](double bytes, Mesh& mesh)
    {
        MeshPart made;
        Polling none(nullptr);
        BlockRoad<BallKernel> road({metaball, spacing, 1, {true, false, bytes, 12, 12, 2}}, none);
        BlockRoadEnd end = road.sort(s.positions.size(), ballsOf(s));
        if (end == BlockRoadEnd::Done) end = road.extract(made);
        mesh = std::move(made.mesh);
        return std::pair(end, road.bytes());
    };
    Mesh mesh;
    const auto [end, bytes] = run(1e12, mesh);
    ASSERT_EQ(end, BlockRoadEnd::Done);
    EXPECT_GE(bytes, mesh.getPosSize() * 36.0 + mesh.getFacesSize() * 24.0);
    EXPECT_LT(bytes, 2e7);
    for (const double granted : {bytes - 1, bytes / 3})
    {
        Mesh none;
        EXPECT_EQ(run(granted, none), std::pair(BlockRoadEnd::TooLarge, bytes));
        EXPECT_TRUE(none.isEmpty());
    }
    const auto [tooLarge, estimate] = run(bytes / 40, mesh);
    EXPECT_EQ(tooLarge, BlockRoadEnd::TooLarge);
    EXPECT_NEAR(estimate, bytes, bytes / 3) << "from a sample of the blocks";
    EXPECT_EQ(run(bytes, mesh).first, BlockRoadEnd::Done);
    EXPECT_EQ(run(1000, mesh).first, BlockRoadEnd::TooLarge) << "for the particles alone";

    Polling none(nullptr);
    for (const Vector3F& far : {Vector3F{1e9f, 0, 0}, Vector3F{0, 0, -1e20f}})
    {
        const Array<Vector3F> places{{0, 0, 0}, far};
        BlockRoad<BallKernel> road({metaball, spacing, 1, {true, false, 1e12, 0, 0, 1}}, none);
        EXPECT_EQ(road.sort(2,
                            [&](uint32 n) {
                                return Particle{places[n].x, places[n].y, places[n].z, 0.1f};
                            }),
                  BlockRoadEnd::TooWide);
    }
}

/// Blocks that the bounds put inside and outside, after a look at all their samples.
template <class Kernel, class Make>
static std::pair<int, int> countBoundBlocks(const Kernel& kernel, uint32 count, Make make, float level)
{
    Polling none(nullptr);
    const LatticeSteps steps{{1 / spacing, 1 / spacing, 1 / spacing}, spacing};
    const auto extent = measureExtent(steps, kernel, count, 1, none, make);
    const auto particles = sortIntoBlocks(steps, extent, kernel, count, 5, none, make);
    EXPECT_EQ(blocksReached(particles),
              blocksReached(sortIntoBlocks(steps, extent, kernel, count, 1, none, make)));
    BlockSampler<Kernel> sampler(particles, kernel, none);
    BlockBounds bounds(kernel, particles.lattice, level);
    const auto room = std::make_unique<BlockRoom>();
    int inside = 0, outside = 0, wrong = 0;
    for (const BlockIndex& block : blocksReached(particles))
    {
        if (!sampler.gather(block) || !sampler.fill(*room)) continue;
        const bool isInside = bounds.isInside(block, sampler.gathered(), particles.reach);
        const bool isOutside = bounds.isOutside(block, sampler.gathered());
        for (uint32 i = 0; i < blockNodes && (isInside || isOutside); ++i)
            for (uint32 j = 0; j < blockNodes; ++j)
                for (uint32 k = 0; k < blockNodes; ++k)
                {
                    bool isReached = true;
                    for (const auto& [axis, n] : {std::pair(0, i), std::pair(1, j), std::pair(2, k)})
                        isReached &= n >= room->low[axis] && n < room->high[axis];
                    const float sample = isReached ? *room->at(i, j, k) : 0;
                    wrong += isInside ? sample < level : sample >= level;
                }
        inside += isInside;
        outside += isOutside;
    }
    EXPECT_EQ(wrong, 0);
    return {inside, outside};
}

TEST(BlockBounds, AreStrict)
{
    Array<Vector3F> positions;
    std::mt19937 engine{4};
    const auto unit = [&] { return static_cast<float>(engine() % 100001) / 100000.0f; };
    for (int n = 0; n < 60000; ++n) positions.push_back({2.5f * unit(), 2.5f * unit(), 2.5f * unit()});
    for (int n = 0; n < 50; ++n) positions.push_back({4 + 4 * unit(), 4 * unit(), 4 * unit()});
    const auto ball = [&](uint32 n) {
        return Particle{positions[n].x, positions[n].y, positions[n].z, 0.055f};
    };
    const auto ellipsoid = [&](uint32 n)
    {
        Ellipsoid e = Ellipsoid::ball(positions[n].x, positions[n].y, positions[n].z, 0.17f, 0.7f);
        e.xx *= 1.4f;
        e.xy = -0.3f * e.zz;
        e.yz = 0.2f * e.zz;
        e.fitExtent();
        return e;
    };
    const auto [insideSum, outsideSum] = countBoundBlocks(metaball, positions.size(), ball, 1);
    EXPECT_GT(insideSum, 5);
    EXPECT_GT(outsideSum, 10);
    const auto [insideMaximum, outsideMaximum] =
        countBoundBlocks(distanceKernel, positions.size(), ball, 0.9f);
    EXPECT_EQ(insideMaximum, 0);
    EXPECT_GT(outsideMaximum, 10);
    EXPECT_GT(countBoundBlocks(EllipsoidKernel{SplatMerge::Sum}, positions.size(), ellipsoid, 1).first, 5);
}
