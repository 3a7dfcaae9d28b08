#include <tavrix/implicit/detail/MeshInside.h>

#include <gtest/gtest.h>

#include <random>

#include <spatial/TestSolids.h>
#include <tavrix/implicit/detail/MeshDistance.h>
#include <tavrix/implicit/MeshVoxels.h>

#include "Polls.h"

using namespace tavrix;
using namespace tavrix::detail;
using namespace tavrix::test;

namespace
{

/// Without the faces that `isGone` names.
Mesh without(const Mesh& mesh, const std::function<bool(uint32)>& isGone)
{
    Mesh rest(mesh);
    rest.refTrindexPos().clear();
    for (uint32 f = 0; f < mesh.getFacesSize(); ++f)
        if (!isGone(f)) rest.refTrindexPos().push_back(mesh.trindexPos()[f]);
    return rest;
}

/// Nodes at whole multiples of 1/8, so that corners and edges of the shapes lie on rows and nodes.
GridDescription3<double> makeGrid()
{
    return GridDescription3<double>::centered(33, 29, 37, {0.125, 0.125, 0.125});
}

std::vector<float> sampled(const Mesh& mesh, uint32 threads = 2, float band = 0.4f)
{
    const auto grid = makeGrid();
    std::vector<float> samples(grid.size);
    detail::Polling none(nullptr);
    EXPECT_TRUE(sampleDistance(mesh, grid, band, threads, none, samples.data()));
    EXPECT_TRUE(negateInside(mesh, grid, threads, none, samples.data()));
    return samples;
}

/// The nodes further than the tolerance from the shape whose sample has the wrong sign.
uint32 wrongSigns(const Mesh& mesh, const Shape& shape, double tolerance)
{
    const auto grid = makeGrid();
    const std::vector<float> samples = sampled(mesh);
    uint32 wrong = 0;
    for (uint32 m = 0; m < grid.size; ++m)
    {
        const Index3 n = grid.getIndexes(m);
        const double d = shape(grid.getPoint(n.a, n.b, n.c));
        wrong += std::fabs(d) > tolerance && (d < 0) != (samples[m] < 0);
    }
    return wrong;
}

TEST(MeshInside, ClosedMeshesHaveTheRightSignEverywhere)
{
    std::vector<Solid> solids = closedSolids();
    // where it laps over itself it winds the other way
    solids.push_back({"torus that meets itself", makeTorus(0.5, 1),
                      [](const Vector3D& p) { return std::max(torus(p, 0.5, 1), -torus(p, -0.5, 1)); },
                      0.03});
    for (const Solid& solid : solids)
    {
        EXPECT_EQ(wrongSigns(solid.mesh, solid.shape, solid.tolerance), 0u) << solid.name;
        if (solid.mesh.isEmpty()) continue;
        // inside out as a whole: the same solid seen from outside
        const Shape outside = [&](const Vector3D& p) { return -solid.shape(p); };
        EXPECT_EQ(wrongSigns(flipped(solid.mesh), outside, solid.tolerance), 0u)
            << solid.name << ", inside out";
    }
}

TEST(MeshInside, HolesDoNotLeak)
{
    const Vector3D o{0, 0, 0};
    const Mesh sphere = makeSphere(o, 1);
    const Shape shape = [o](const Vector3D& p) { return ball(p, o, 1); };
    for (const uint32 gone : {0u, 100u, 255u, 1000u})
        EXPECT_EQ(wrongSigns(without(sphere, [gone](uint32 f) { return f == gone; }), shape, 0.03), 0u)
            << gone;
    std::mt19937 random(3);
    const auto oneInThirty = [&](uint32) { return random() % 30 == 0; };
    EXPECT_EQ(wrongSigns(without(sphere, oneInThirty), shape, 0.15), 0u);
    // a cube without its top: what is wrong lies at the opening
    const Mesh cubeMesh = makeCube(-1, 1);
    const auto isTop = [&](uint32 f)
    {
        const Index3& t = cubeMesh.trindexPos()[f];
        return (t.a & t.b & t.c & 4) != 0;
    };
    const Mesh bin = without(cubeMesh, isTop);
    const Shape oneCube = [](const Vector3D& p) { return cube(p, -1, 1); };
    EXPECT_EQ(bin.getFacesSize(), 10u);
    EXPECT_EQ(wrongSigns(bin, oneCube, 0.13), 0u);
}

TEST(MeshInside, BadFacesDoNotCount)
{
    Mesh mesh = makeSphere({0, 0, 0}, 1);
    const std::vector<float> samples = sampled(mesh);
    mesh.refPos().push_back({std::nan(""), 0, 0});
    mesh.refTrindexPos().push_back({0, 1, mesh.getPosSize() - 1});
    mesh.refTrindexPos().push_back({0, 1, noIndex});
    EXPECT_EQ(samples, sampled(mesh));
    mesh.refPos().push_back({1e308, -1e308, 1e308});
    mesh.refPos().push_back({-1e308, 1e308, 1e308});
    mesh.refTrindexPos().push_back({0, mesh.getPosSize() - 2, mesh.getPosSize() - 1});
    for (const float sample : sampled(mesh)) EXPECT_FALSE(std::isnan(sample));
}

TEST(MeshInside, DoesNotDependOnTheThreadCount)
{
    std::mt19937 random(4);
    const Mesh mesh = without(makeTorus(1, 0.5), [&](uint32) { return random() % 9 == 0; });
    const std::vector<float> one = sampled(mesh, 1);
    for (const uint32 threads : {2u, 3u, 7u, 60u}) EXPECT_EQ(one, sampled(mesh, threads)) << threads;
}

TEST(MeshVoxels, AreTheNodesInsideInRunsApart)
{
    std::vector<Solid> solids = closedSolids();
    const Mesh torus = makeTorus(1, 0.5);
    const Shape inTorus = [](const Vector3D& p) { return test::torus(p, 1, 0.5); };
    solids.push_back({"torus inside out", flipped(torus), inTorus, 0.01});
    solids.push_back({"torus with a hole", without(torus, [](uint32 f) { return f == 700; }), inTorus, 0.02});
    for (const Solid& solid : solids)
    {
        SCOPED_TRACE(solid.name);
        const auto grid = makeGrid();
        MeshVoxels voxels, again;
        ASSERT_TRUE(voxelize(solid.mesh, grid, voxels));
        ASSERT_TRUE(voxelize(solid.mesh, grid, again, 5));
        EXPECT_EQ(again.spans, voxels.spans);
        Array<uint8> nodes;
        voxels.fill(nodes);
        uint64 count = 0;
        for (uint32 m = 0; m < grid.size; ++m)
        {
            const Index3 n = grid.getIndexes(m);
            const double d = solid.shape(grid.getPoint(n.a, n.b, n.c));
            count += nodes[m];
            ASSERT_TRUE(std::fabs(d) <= solid.tolerance || (d < 0) == (nodes[m] == 1)) << m;
        }
        EXPECT_EQ(voxels.count(), count);
        ASSERT_EQ(voxels.rows.size(), grid.sizeX * grid.sizeY + 1);
        for (uint32 row = 0; row + 1 < voxels.rows.size(); ++row)
            for (uint32 s = voxels.rows[row]; s + 1 < voxels.rows[row + 1]; ++s)
                EXPECT_LT(voxels.spans[s].end, voxels.spans[s + 1].begin);
    }
    MeshVoxels voxels;
    const auto run = [&](CancelCallback callback)
    { return voxelize(torus, makeGrid(), voxels, 1, callback); };
    EXPECT_GT(stopAtPolls(3, run, [&] { EXPECT_TRUE(voxels.spans.empty()); }), 3);
    ASSERT_TRUE(voxelize(torus, GridDescription3<double>::centered(0, 0, 0, {1, 1, 1}), voxels));
    EXPECT_EQ(voxels.count(), 0u);
}

}  // namespace
