#include <gtest/gtest.h>

#include <cmath>
#include <map>

#include <tavrix/foundation/ElementaryFunctions.h>

#include "mesh/TestMeshes.h"

using namespace tavrix;
using test::makeMesh;

TEST(SmoothingGroups, TheAngleDecidesWhichCornersShareANormal)
{
    const std::pair<double, uint32> cases[] = {
        {0, 24}, {1, 24}, {piValue / 2 - 1e-3, 24}, {piValue / 2 + 1e-3, 8}, {9, 8}, {-1, 24}};
    for (const auto& [angle, normals] : cases)
    {
        Mesh cube = test::makeCube();
        cube.createNormals(angle);
        EXPECT_EQ(cube.nor().size(), normals) << angle;
        for (uint32 corner = 0; corner < 36; ++corner)
        {
            const Vector3F n = cube.nor()[cube.trindexNor()[corner / 3][corner % 3]];
            const Wector3F faceNor = cube.faceNor()[corner / 3];
            EXPECT_NEAR(dot(n, Vector3F{faceNor.x, faceNor.y, faceNor.z}), 1, normals == 24 ? 1e-6 : 0.5);
        }
    }
}

TEST(SmoothingGroups, CornersOfOneGroupLieAtOnePosition)
{
    for (uint32 seed = 0; seed < 6; ++seed)
    {
        Mesh mesh = seed % 2 ? test::makeTerrain(12) : test::makeRandomSoup(25, 120, seed);
        uint32 count = 0;
        mesh.recalculateFaceNormals();
        mesh.recalculateArrTrindexNor_SmoothingGroups(0.3 + 0.4 * seed, count);
        std::map<uint32, uint32> positions;  // of the normals
        for (uint32 n = 0; n < 3 * mesh.getFacesSize(); ++n)
        {
            const uint32 position = mesh.trindexPos()[n / 3][n % 3];
            EXPECT_EQ(positions.insert({mesh.trindexNor()[n / 3][n % 3], position}).first->second, position);
        }
        EXPECT_EQ(positions.size(), count);
        EXPECT_EQ(positions.rbegin()->first + 1, count);
    }
}

TEST(SmoothingGroups, BordersSeveralSheetsTouchingFansAndFacesWithoutAreaAreApart)
{
    Mesh book = makeMesh({{0, 0, 0}, {0, 0, 1}, {1, 0, 0}, {1, 0.01, 0}, {1, -0.01, 0}},
                         {{0, 1, 2}, {0, 1, 3}, {0, 1, 4}});
    book.createNormals(1);
    EXPECT_EQ(book.nor().size(), 9u) << "an edge of three faces joins none of them";

    Mesh bowTie =
        makeMesh({{0, 0, 0}, {1, 1, 0}, {1, -1, 0}, {-1, 1, 0}, {-1, -1, 0}}, {{0, 2, 1}, {0, 3, 4}});
    bowTie.createNormals(1);
    EXPECT_EQ(bowTie.nor().size(), 6u);

    Mesh flat = makeMesh({{0, 0, 0}, {0, 1, 0}, {0, 0.5, 0}, {0, 0.25, 1}}, {{1, 0, 2}, {0, 1, 3}});
    flat.createNormals(1);
    EXPECT_EQ(flat.faceNor()[1], (Wector3F{1, 0, 0, 0.5f})) << "the direction that also stands for none";
    EXPECT_EQ(flat.nor().size(), 6u);

    Mesh plane = test::makeTerrain(15);
    for (Vector3D& p : plane.refPos()) p = {p.x, p.y * 1.1, 0.3 * p.x + 0.7 * p.y};
    plane.createNormals(0);
    EXPECT_EQ(plane.nor().size(), plane.getPosSize()) << "one plane is smooth at any angle";
}

TEST(SmoothingGroups, AssignFillsTheMesh)
{
    Mesh mesh = test::makeRandomSoup(9, 9, 1);
    mesh.setId(5);
    const Mesh cube = test::makeCube();
    mesh.assign("cube", cube.pos(), cube.trindexPos(), 0.5);
    EXPECT_EQ(mesh.getName(), TX_String("cube"));
    EXPECT_EQ(mesh.getId(), 5u);
    EXPECT_EQ(mesh.pos(), cube.pos());
    EXPECT_EQ(mesh.nor().size(), 24u);
    mesh.assign(mesh.getName(), mesh.pos(), mesh.trindexPos(), piValue);
    EXPECT_EQ(mesh.getFacesSize(), 12u) << "its own arrays may come in";
    EXPECT_EQ(mesh.nor(), cube.nor());
}
