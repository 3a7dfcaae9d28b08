#include <gtest/gtest.h>

#include <cmath>
#include <tuple>

#include <Polls.h>
#include <tavrix/isosurface/IsosurfaceExtractor3.h>
#include <tavrix/mesh/Mesh.h>

using namespace tavrix;

namespace
{

/// A pyramid over a square whose tip is vertex 0, and a vertex 5 without faces.
Mesh pyramid()
{
    Mesh mesh;
    mesh.refPos() = {{0.5, 0, 3}, {1, 1, 0}, {-1, 1, 0}, {-1, -1, 0}, {1, -1, 0}, {9, 9, 9}};
    mesh.refTrindexPos() = {{0, 1, 2}, {0, 2, 3}, {0, 3, 4}, {0, 4, 1}};
    mesh.refTrindexNor() = mesh.trindexPos();
    mesh.refNor() = Array<Vector3F>(6, Vector3F{0, 0, 1});
    return mesh;
}

}  // namespace

TEST(IsosurfaceExtractor3Tension, FollowMovesTowardsTheNeighboursAndSlideAcrossTheNormal)
{
    Mesh mesh = pyramid();
    IsosurfaceExtractor3::tension(mesh, 0.5f, 0.0f, 1);
    EXPECT_EQ(mesh.pos()[0], (Vector3D{0.25, 0, 1.5}));
    // Vertex 1 has the neighbours 0 (twice), 2 and 4.
    const Vector3D average{(0.5 * 2 - 1 + 1) / 4, (0 + 1 - 1) / 4.0, 6 / 4.0};
    EXPECT_EQ(mesh.pos()[1], (Vector3D{1, 1, 0} + average) * 0.5);
    EXPECT_EQ(mesh.pos()[5], (Vector3D{9, 9, 9}));
    EXPECT_EQ(mesh.nor()[0], (Vector3F{0, 0, 1})) << "parallel normals stay";
    mesh = pyramid();
    IsosurfaceExtractor3::tension(mesh, 0.0f, 1.0f, 1);
    EXPECT_EQ(mesh.pos()[0], (Vector3D{0, 0, 3}));
}

TEST(IsosurfaceExtractor3Tension, NormalsTurnByAFractionOfTheAngle)
{
    // a quarter of a quarter turn, and half of a half turn, about any axis across
    const double right = std::acos(0.0);
    for (const auto& [towards, follow, angle] :
         {std::tuple(Vector3F{1, 0, 0}, 0.25f, right / 4), {Vector3F{0, 0, -1}, 0.5f, right}})
    {
        Mesh mesh = pyramid();
        for (uint32 v = 1; v < 5; ++v) mesh.refNor()[v] = towards;
        IsosurfaceExtractor3::tension(mesh, follow, 0.0f, 1);
        EXPECT_NEAR(mesh.nor()[0].z, std::cos(angle), 1e-7);
        EXPECT_NEAR(length(mesh.nor()[0]), 1, 1e-6);
    }
}

TEST(IsosurfaceExtractor3Tension, CancelsBetweenPassesAndFillsMissingNormals)
{
    Mesh once = pyramid(), cancelled = pyramid();
    IsosurfaceExtractor3::tension(once, 0.5f, 0.25f, 1);
    test::pollsLeft = 9;  // one poll a pass, six vertices
    IsosurfaceExtractor3::tension(cancelled, 0.5f, 0.25f, 5, 4,
                                  [] { return test::pollsLeft-- <= 0 ? 1 : 0; });
    EXPECT_EQ(cancelled.pos(), once.pos());

    Mesh bare = pyramid();
    bare.refNor().clear();
    IsosurfaceExtractor3::tension(bare, 0.5f, 0.5f, 3);
    EXPECT_EQ(bare.nor().size(), 6u);
    EXPECT_EQ(bare.nor()[0], (Vector3F{0, 0, 0}));
}
