#include <tavrix/mesh/MeshTopology.h>

#include <gtest/gtest.h>

#include <cmath>

#include <tavrix/mesh/MeshRepair.h>

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

TEST(MeshTopology, FacesWithoutAreaCloseNothing)
{
    EXPECT_FALSE(computeTopology(Mesh()).isClosed()) << "no faces";
    const Array<Index3> pillow{{0, 1, 2}, {0, 2, 1}}, point{{0, 0, 0}, {1, 1, 2}};
    const MeshTopology line = computeTopology(test::makeMesh({{0, 0, 0}, {1, 1, 1}, {3, 3, 3}}, pillow));
    EXPECT_EQ(line.boundaryEdgeCount, 0u);
    EXPECT_EQ(line.flatFaceCount, 2u);
    EXPECT_FALSE(line.isClosed());
    const MeshTopology collapsed = computeTopology(test::makeMesh({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, point));
    EXPECT_EQ(collapsed.collapsedFaceCount, 2u);
    EXPECT_FALSE(collapsed.isClosed());
    const MeshTopology far =
        computeTopology(test::makeMesh({{0, 0, 0}, {NAN, 1, 1}, {3, INFINITY, 3}}, pillow));
    EXPECT_EQ(far.nonFiniteCount, 2u);
    EXPECT_FALSE(far.isClosed());
    EXPECT_TRUE(computeTopology(makeTetrahedron()).isClosed());
}

TEST(MeshTopology, CountsFansAndContacts)
{
    struct Case
    {
        Vector3D moved;  ///< of the second cube
        bool joined;
        uint32 edges, vertices, contacts;
    };
    for (const Case& c :
         {Case{{1, 1, 0}, true, 1, 2, 0}, Case{{1, 1, 0}, false, 0, 0, 2}, Case{{1, 1, 1}, true, 0, 1, 0},
          Case{{1, 1, 1}, false, 0, 0, 1}, Case{{1, 0, 0}, false, 0, 0, 4}, Case{{3, 0, 0}, false, 0, 0, 0}})
    {
        Mesh mesh, other;
        mesh.createCubePrimitive({{0, 0, 0}, {1, 1, 1}});
        other.createCubePrimitive({c.moved, c.moved + Vector3D{1, 1, 1}});
        mesh.addMesh(other);
        if (c.joined) joinEqualPositions(mesh);
        const MeshTopology topology = computeTopology(mesh);
        EXPECT_EQ(topology.nonManifoldEdgeCount, c.edges);
        EXPECT_EQ(topology.nonManifoldVertexCount, c.vertices);
        EXPECT_EQ(topology.selfContactCount, c.contacts);
        EXPECT_EQ(topology.isManifold(), !c.joined);
    }
    // two corners of one face in one place are no sheets that touch
    EXPECT_EQ(
        computeTopology(test::makeMesh({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 1, 0}}, {{0, 1, 2}, {2, 1, 3}}))
            .selfContactCount,
        0u);
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
