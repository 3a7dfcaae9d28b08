#include <tavrix/mesh/MeshCavities.h>

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include <tavrix/mesh/MeshRepair.h>
#include <tavrix/mesh/MeshTopology.h>

#include "mesh/TestMeshes.h"

using namespace tavrix;

namespace
{

/// A ball; a hollow when the radius is below 0.
struct Ball
{
    double radius;
    Vector3D centre = {0, 0, 0};
};

Mesh ballMesh(const Ball& ball)
{
    Mesh mesh;
    mesh.createCubePrimitive({{-1, -1, -1}, {1, 1, 1}});
    for (uint32 pass = 0; pass < 3; ++pass)  // every face becomes three, its middle on the sphere
    {
        Array<Index3> finer;
        for (const Index3& f : mesh.trindexPos())
        {
            const Vector3D middle = mesh.pos()[f.a] + mesh.pos()[f.b] + mesh.pos()[f.c];
            mesh.refPos().push_back(middle);
            const uint32 m = mesh.getPosSize() - 1;
            for (const Index3& part : {Index3{f.a, f.b, m}, Index3{f.b, f.c, m}, Index3{f.c, f.a, m}})
                finer.push_back(part);
        }
        mesh.refTrindexPos() = finer;
    }
    for (Vector3D& p : mesh.refPos()) p = p * (std::abs(ball.radius) / length(p)) + ball.centre;
    mesh.refTrindexNor() = mesh.trindexPos();
    mesh.refNor().assign(mesh.getPosSize(), Vector3F{0, 0, 0});
    if (ball.radius < 0) turnFaces(mesh);
    return mesh;
}

Mesh ballsMesh(const std::vector<Ball>& balls)
{
    Mesh mesh;
    for (const Ball& ball : balls) mesh.addMesh(ballMesh(ball));
    return mesh;
}

}  // namespace

TEST(MeshCavities, AreHollowsWithinSolids)
{
    struct Case
    {
        const char* what;
        std::vector<Ball> balls;
        PartCounts counts;
        std::vector<Ball> left;
    };
    const Vector3D far{5, 5, 5}, beside{2, 0, 0};
    for (const Case& c : std::vector<Case>{
             {"nothing", {}, {0, 0}, {}},
             {"a ball", {{1}}, {1, 0}, {{1}}},
             {"a shell", {{1}, {-0.9}}, {2, 1}, {{1}}},
             {"a ball in a shell in a ball", {{2}, {-1.9}, {1.5}, {-1}, {0.5}}, {5, 2}, {{2}}},
             {"a hollow before its solid, and a drop aside",
              {{-0.5}, {1}, {0.4, far}},
              {3, 1},
              {{1}, {0.4, far}}},
             {"inside out alone", {{-1}}, {1, 0}, {{-1}}},
             {"inside out beside", {{1}, {-1, far}}, {2, 0}, {{1}, {-1, far}}},
             {"a corner of the box of a ball",
              {{2}, {-0.3, {1.6, 1.6, 1.6}}},
              {2, 0},
              {{2}, {-0.3, {1.6, 1.6, 1.6}}}},
             {"touching balls", {{1}, {1, beside}, {-0.2, beside}, {-0.2}}, {4, 2}, {{1}, {1, beside}}},
             {"a shell all inside out", {{-1}, {0.9}}, {2, 0}, {{-1}, {0.9}}},
         })
    {
        SCOPED_TRACE(c.what);
        Mesh mesh = ballsMesh(c.balls);
        const PartCounts counted = countPartsAndCavities(mesh), filled = fillCavities(mesh);
        EXPECT_EQ(counted.parts, c.counts.parts);
        EXPECT_EQ(counted.cavities, c.counts.cavities);
        EXPECT_EQ(filled.parts, c.left.size());
        EXPECT_EQ(filled.cavities, c.counts.cavities);
        const Mesh left = ballsMesh(c.left);
        EXPECT_EQ(mesh.pos(), left.pos());
        EXPECT_EQ(mesh.trindexPos(), left.trindexPos());
        EXPECT_EQ(mesh.trindexNor(), left.trindexNor());
    }
}

TEST(MeshCavities, OpenPartsAreNone)
{
    Mesh open = ballMesh({-0.5});
    open.refTrindexPos().resize(open.getFacesSize() - 1);
    open.refTrindexNor().resize(open.getFacesSize());
    Mesh mesh = ballMesh({1});
    mesh.addMesh(open);
    EXPECT_EQ(countPartsAndCavities(mesh).cavities, 0u);

    // within a cavity it goes as all else does
    Mesh shell = ballsMesh({{1}, {-0.9}});
    shell.addMesh(open);
    EXPECT_EQ(fillCavities(shell).cavities, 1u);
    EXPECT_EQ(countParts(shell), 1u);
}

TEST(MeshCavities, ManyOfThemInOneSolid)
{
    std::vector<Ball> balls{{20}};
    for (int n = 0; n < 343; ++n)
        balls.push_back({n % 5 == 0 ? 0.4 : -0.4, {n / 49 * 2.9 - 9, n / 7 % 7 * 2.7 - 8, n % 7 * 2.5 - 8}});
    Mesh mesh = ballsMesh(balls);
    EXPECT_EQ(countPartsAndCavities(mesh).cavities, 274u);
    fillCavities(mesh);
    EXPECT_EQ(countParts(mesh), 70u) << "solids within a solid stay";
}
