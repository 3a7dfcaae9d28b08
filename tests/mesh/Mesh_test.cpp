#include <tavrix/mesh/Mesh.h>

#include <gtest/gtest.h>

#include <string>

#include "mesh/TestMeshes.h"

using namespace tavrix;
using test::makeTetrahedron;

TEST(Mesh, CachesItsBoxUntilItIsInvalidated)
{
    Mesh mesh = makeTetrahedron();
    EXPECT_EQ(mesh.getBox(), (Box3D{{0, 0, 0}, {1, 1, 1}}));
    mesh.refPos()[1].x = 5;
    EXPECT_EQ(mesh.getBox().max.x, 1);
    mesh.invalidateBox();
    EXPECT_EQ(mesh.getBox().max.x, 5);
}

TEST(Mesh, DescribesItselfInSixLines)
{
    Mesh mesh = makeTetrahedron();
    mesh.setName(std::string(300, 'n').c_str());
    mesh.addSuffixToName("_s");
    TX_String text("before ");
    mesh.addStringDescription(text);
    EXPECT_EQ(text.view(), "before *MESH DESCRIPTION* \n{\n\tName: " + std::string(300, 'n') +
                               "_s \n\tNum Vertex-Positions: 4 \n\tNum Vertex-Normals: 4 \n"
                               "\tNum Faces: 4 \n}\n");
}

TEST(Mesh, GivesItsMemoryBackAndCanBeFilledAgain)
{
    const uint32 before = TX_ArrayServer::instance().arrayCount();
    {
        Mesh mesh = makeTetrahedron();
        mesh.setId(7);
        mesh.refPos().reserve(100);
        mesh.reserveTight();
        EXPECT_EQ(mesh.pos().capacity(), 4u);
        mesh.addArray<float>("Weights").resize(4);
        mesh.unreserve();
        EXPECT_EQ(mesh.getId(), 7u);
        EXPECT_EQ(mesh.getArraySet().size(), 6u);
        EXPECT_TRUE(mesh.isEmpty());
        mesh.destroy();
        EXPECT_EQ(TX_ArrayServer::instance().arrayCount(), before);
        EXPECT_EQ(mesh.getId(), noIndex);
        EXPECT_TRUE(mesh.getArraySet().empty() && mesh.isEmpty());
        EXPECT_EQ(mesh.getBox(), Box3D::empty());

        mesh.refPos().push_back({1, 2, 3});
        mesh.invalidateBox();
        EXPECT_EQ(mesh.getArraySet().size(), 6u);
        EXPECT_EQ(mesh.getBox().max.z, 3);
    }
    EXPECT_EQ(TX_ArrayServer::instance().arrayCount(), before);
}

TEST(Mesh, OwnsItsRenderObject)
{
    Mesh mesh = makeTetrahedron();
    mesh.render();
    EXPECT_EQ(mesh.getShader(), nullptr);
    mesh.initializeRenderObject();
    const Mesh_RL* const renderer = mesh.getMesh_RL();
    EXPECT_NE(dynamic_cast<const Mesh_RL_Dummy*>(renderer), nullptr);
    Mesh moved(std::move(mesh));
    moved.initializeRenderObject();
    EXPECT_EQ(moved.getMesh_RL(), renderer) << "a mesh that has one keeps it";
    moved.render();
    moved.render(Color4F{1, 1, 1, 1});
    moved.setShader(nullptr);
    EXPECT_EQ(moved.getShader(), nullptr);
    moved.destroy();
    EXPECT_EQ(moved.getMesh_RL(), nullptr);
}
