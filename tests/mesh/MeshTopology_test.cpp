#include <tavrix/mesh/MeshTopology.h>

#include <gtest/gtest.h>

#include "mesh/TestMeshes.h"

using namespace tavrix;
using test::makeTetrahedron;

TEST(MeshTopology, ClosedSurfaces)
{
    Mesh cube;
    cube.createCubePrimitive({{5, 5, 5}, {7, 8, 9}});
    const MeshTopology topology = computeTopology(cube);
    EXPECT_TRUE(topology.isClosed() && topology.isConsistentlyOriented());
    EXPECT_EQ(topology.edgeCount, 18u);
    EXPECT_DOUBLE_EQ(signedVolume(cube), 24);
    EXPECT_DOUBLE_EQ(surfaceArea(cube), 52);
    cube.addMesh(makeTetrahedron());
    EXPECT_EQ(computeTopology(cube).eulerCharacteristic(), 4);
}

TEST(MeshTopology, CountsBordersSheetsAndTurnedFaces)
{
    Mesh open = makeTetrahedron();
    open.refTrindexPos()[3] = {2, 2, 3};
    const MeshTopology holed = computeTopology(open);
    EXPECT_EQ(holed.boundaryEdgeCount, 3u);
    EXPECT_EQ(holed.faceCount, 3u) << "a face that names a position twice is not counted";
    EXPECT_EQ(holed.eulerCharacteristic(), 1);

    Mesh turned = makeTetrahedron();
    turned.refTrindexPos()[0] = {0, 1, 2};
    EXPECT_EQ(computeTopology(turned).inconsistentEdgeCount, 3u);
    EXPECT_TRUE(computeTopology(turned).isClosed());

    const MeshTopology book =
        computeTopology(test::makeMesh({{0, 0, 0}, {0, 0, 1}, {1, 0, 0}, {0, 1, 0}, {-1, 0, 0}, {9, 9, 9}},
                                       {{0, 1, 2}, {0, 1, 3}, {1, 0, 4}}));
    EXPECT_EQ(book.nonManifoldEdgeCount, 1u);
    EXPECT_EQ(book.inconsistentEdgeCount, 1u);
    EXPECT_EQ(book.boundaryEdgeCount, 6u);
    EXPECT_EQ(book.positionCount, 5u);
    EXPECT_EQ(computeTopology(Mesh()).eulerCharacteristic(), 0);
    EXPECT_EQ(signedVolume(Mesh()), 0);
}

TEST(MeshTopology, FindsInvalidIndices)
{
    EXPECT_TRUE(hasValidIndices(Mesh()));
    Mesh mesh = makeTetrahedron();
    EXPECT_TRUE(hasValidIndices(mesh));
    mesh.refTrindexNor()[1].c = 4;
    EXPECT_FALSE(hasValidIndices(mesh));
    mesh.refNor().clear();
    EXPECT_TRUE(hasValidIndices(mesh)) << "as read from a file without normals";
    mesh.refTrindexNor().clear();
    EXPECT_TRUE(hasValidIndices(mesh));
    mesh.refTrindexNor() = {{0, 1, 2}};
    EXPECT_FALSE(hasValidIndices(mesh));
    mesh = makeTetrahedron();
    mesh.refTrindexPos()[3].a = noIndex;
    EXPECT_FALSE(hasValidIndices(mesh));
}
