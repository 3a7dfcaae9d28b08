#include <tavrix/meshproc/MeshDisplacement.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include <tavrix/foundation/GradientNoise.h>
#include <tavrix/mesh/MeshTopology.h>
#include <tavrix/meshproc/MeshTessellator.h>
#include <tavrix/meshproc/SphereTriangulated.h>

#include "mesh/TestMeshes.h"
#include "Polls.h"

using namespace tavrix;

namespace
{

Mesh makeBall(uint32 levels)
{
    Mesh mesh;
    SphereTriangulated<double>::set500Faces(mesh.refPos(), mesh.refTrindexPos());
    MeshTessellator().subdivide(mesh, {levels, {}, {}, true, true});
    for (Vector3D& p : mesh.refPos()) p *= 1 / length(p);
    return mesh;
}

}  // namespace

TEST(MeshDisplacement, MovesAlongTheNormals)
{
    Mesh ball = makeBall(1);
    const double volume = signedVolume(ball);
    EXPECT_TRUE(MeshDisplacement().byFunction(ball, [](auto&, auto&) { return 0.5; }));
    EXPECT_NEAR(signedVolume(ball) / volume, 1.5 * 1.5 * 1.5, 1e-3);
    for (const Vector3D& p : ball.pos()) EXPECT_NEAR(length(p), 1.5, 1e-4);
    for (uint32 v = 0; v < ball.getPosSize(); ++v)
        EXPECT_GT(dot(convert<double>(ball.nor()[v]), ball.pos()[v]), 1.4995);

    // every corner of a cube lies on the middle of its three sides, which keep a normal each
    Mesh cube = test::makeCube();
    cube.createNormals(0.5);
    cube.createSafe_arrNorSurface();
    Array<double> heights(8, std::sqrt(3.0) * 0.25);
    heights[6] = std::numeric_limits<double>::quiet_NaN();
    EXPECT_TRUE(MeshDisplacement().byHeights(cube, {heights.data(), heights.size()}));
    EXPECT_LT(length(cube.pos()[7] - Vector3D{1.25, 1.25, 1.25}), 1e-6);
    EXPECT_EQ(cube.pos()[6], (Vector3D{0, 1, 1}));
    EXPECT_EQ(cube.nor().size(), 24u);
    EXPECT_TRUE(hasValidIndices(cube));
    EXPECT_EQ(cube.getBox().max.x, cube.pos()[7].x);
}

/// A cube of sides that share no vertices, each with the whole picture on it.
TEST(MeshDisplacement, SeamsStayClosedUnderPictures)
{
    Mesh sides;
    const Mesh cube = test::makeCube();
    auto& texture = sides.addArray<Vector3F>("UV_MAP_0");
    for (uint32 f = 0; f < 12; ++f)
    {
        const Index3& t = cube.trindexPos()[f];
        const double x = cube.pos()[t.a].x;
        const bool isAcrossX = cube.pos()[t.b].x == x && cube.pos()[t.c].x == x;
        for (uint32 c = 0; c < 3; ++c)
        {
            const Vector3D& p = cube.pos()[t[c]];
            sides.refPos().push_back(Vector3D(p));
            texture.push_back(convert<float>(Vector3D{isAcrossX ? p.y : p.x, p.z, 0}));
        }
        sides.refTrindexPos().push_back({3 * f, 3 * f + 1, 3 * f + 2});
    }
    MeshTessellator().splitEdges(sides, 0.2);
    HeightPicture picture{2, 2, {0, 1, 0.5f, 0.25f}};
    EXPECT_TRUE(MeshDisplacement().byPicture(sides, picture, 0.3, 0.5));
    // on each of the places of the seams there are as many vertices as before, so the surface is closed
    Mesh flat = cube;
    MeshTessellator().splitEdges(flat, 0.2);
    std::vector<Vector3D> places(sides.pos().begin(), sides.pos().end());
    const auto isBefore = [](const Vector3D& a, const Vector3D& b)
    { return std::tuple(a.x, a.y, a.z) < std::tuple(b.x, b.y, b.z); };
    std::sort(places.begin(), places.end(), isBefore);
    places.erase(std::unique(places.begin(), places.end()), places.end());
    EXPECT_EQ(places.size(), flat.getPosSize());
    EXPECT_GT(std::fabs(signedVolume(sides) - 1), 1e-3);

    Mesh bare = cube;
    EXPECT_TRUE(MeshDisplacement().byPicture(bare, picture, 1));
    EXPECT_EQ(bare.pos(), cube.pos()) << "without texture coordinates";
}

TEST(MeshDisplacement, PicturesAreBilinear)
{
    HeightPicture picture{3, 2, {0, 1, 2, 10, 11, 12}};
    struct Case
    {
        double u, v, clamped, repeated;
    };
    for (const Case& c : {Case{0.5, 0.75, 1, 1},
                          {0.5, 0.25, 11, 11},
                          {1 / 3.0, 0.5, 5.5, 5.5},
                          {0, 1, 0, 6},
                          {1, 0, 12, 6},
                          {5.0 / 6, 0.25, 12, 12},
                          {1.5, 1.25, 2, 11},
                          {-0.5, 0.25, 10, 11}})
    {
        picture.repeats = false;
        EXPECT_NEAR(picture.at(c.u, c.v), c.clamped, 1e-12) << c.u << " " << c.v;
        picture.repeats = true;
        EXPECT_NEAR(picture.at(c.u, c.v), c.repeated, 1e-12) << c.u << " " << c.v;
    }
    EXPECT_EQ(picture.at(std::nan(""), 0), 0);
    EXPECT_EQ(picture.at(1e300, -1e300), picture.at(0, 0));
    EXPECT_EQ(HeightPicture().at(0.5, 0.5), 0);
}

TEST(MeshDisplacement, NoiseIsSmoothAndRolling)
{
    const GradientNoise noise(5), other(6);
    double sum = 0, squares = 0, steepest = 0, most = 0, difference = 0;
    uint32 count = 0;
    for (double x = -3; x < 3; x += 0.11)
        for (double y = -2; y < 2; y += 0.13)
            for (double z = 100; z < 102; z += 0.17, ++count)
            {
                constexpr double step = 1e-6;
                const double n = noise.at({x, y, z});
                sum += n;
                squares += n * n;
                most = std::max(most, std::fabs(n));
                steepest = std::max(steepest, std::fabs(noise.at({x + step, y, z}) - n) / step);
                difference = std::max(difference, std::fabs(n - other.at({x, y, z})));
                EXPECT_LE(std::fabs(noise.fractal({x, y, z}, 6)), 1.04);
                EXPECT_EQ(noise.fractal({x, y, z}, 1), n);
            }
    EXPECT_LT(std::fabs(sum / count), 0.05);
    EXPECT_NEAR(std::sqrt(squares / count), 0.25, 0.08);
    EXPECT_TRUE(most > 0.6 && most <= 1.04);
    EXPECT_LT(steepest, 4);
    EXPECT_GT(difference, 0.5);
    EXPECT_EQ(noise.at({3, -7, 1e9}), 0);
    EXPECT_EQ(noise.at({0.5, std::numeric_limits<double>::infinity(), 0.5}), 0);
}

TEST(MeshDisplacement, ThreadsChangeNothingAndStopsLeaveTheMesh)
{
    const Mesh ball = makeBall(3);
    const auto sum = [](const Mesh& mesh)
    { return test::checksum(mesh.pos(), mesh.nor(), mesh.trindexNor()); };
    const auto run = [&](Mesh& mesh, const MeshDisplacement& displacement) {
        return displacement.byFunction(mesh,
                                       [](const Vector3D& p, auto&) { return GradientNoise().at(p * 3); });
    };
    Mesh one = ball, four = ball, stopped = ball;
    EXPECT_TRUE(run(one, MeshDisplacement(1)) && run(four, MeshDisplacement(4)));
    EXPECT_EQ(sum(one), sum(four));
    const int polls = test::stopAtPolls(
        6,
        [&](CancelCallback callback)
        {
            stopped = ball;
            return run(stopped, MeshDisplacement(2, callback));
        },
        [&] { EXPECT_EQ(sum(stopped), sum(ball)); });
    EXPECT_GT(polls, 5);
}
