#include <tavrix/mesh/Mesh.h>

#include <gtest/gtest.h>

#include <string>

#include "mesh/TestMeshes.h"

namespace tavrix
{

namespace
{

using test::makeTetrahedron;

TEST(Mesh, FreshMeshIsEmptyWithSixRegisteredArrays)
{
    const Mesh mesh;
    EXPECT_TRUE(mesh.isEmpty());
    EXPECT_EQ(mesh.getName(), TX_String("Nameless"));
    EXPECT_EQ(mesh.getId(), noIndex);
    EXPECT_EQ(mesh.getMesh_RL(), nullptr);

    constexpr std::pair<const char*, uint32> expected[] = {{"TrindexPos", 32 | 4},  {"TrindexNor", 32 | 4},
                                                           {"Pos", 64 | 65536},     {"Nor", 131072 | 64},
                                                           {"FaceNor", 131072 | 4}, {"TrindexFacedge", 4}};
    ASSERT_EQ(mesh.getArraySet().size(), 6u);
    for (uint32 i = 0; i < 6; ++i)
    {
        MeshArrayInf inf;
        ASSERT_TRUE(mesh.getMeshArrayInf(inf, mesh.getArraySet().handle(i)));
        EXPECT_EQ(inf.name, TX_String(expected[i].first));
        EXPECT_EQ(inf.flags, expected[i].second);
        EXPECT_EQ(TX_ArrayServer::instance().size(mesh.getArraySet().handle(i)), 0u);
    }
    for (uint32 slot = 6; slot < meshSlotCount; ++slot)
        EXPECT_TRUE(mesh.handleOf(static_cast<Mesh::Slot>(slot)).isNone());
    EXPECT_EQ(mesh.getBox(), Box3D::empty());
}

TEST(Mesh, CachesItsBoxUntilItIsInvalidated)
{
    Mesh mesh = makeTetrahedron();
    EXPECT_EQ(mesh.getFlags() & 1, 0u);
    EXPECT_EQ(mesh.getBox(), (Box3D{{0, 0, 0}, {1, 1, 1}}));
    EXPECT_EQ(mesh.getFlags() & 1, 1u);
    mesh.refPos()[1].x = 5;
    EXPECT_EQ(mesh.getBox().max.x, 1);
    mesh.invalidateBox();
    EXPECT_EQ(mesh.getBox().max.x, 5);
}

TEST(Mesh, DescribesItselfInSixLines)
{
    TX_String text("before ");
    Mesh().addStringDescription(text);
    EXPECT_STREQ(text.c_str(),
                 "before *MESH DESCRIPTION* \n{\n\tName: Nameless \n\tNum Vertex-Positions: 0 \n"
                 "\tNum Vertex-Normals: 0 \n\tNum Faces: 0 \n}\n");
    Mesh named = makeTetrahedron();
    named.setName(std::string(300, 'n').c_str());
    named.addSuffixToName("_s");
    TX_String longText;
    named.addStringDescription(longText);
    const std::string expected =
        "*MESH DESCRIPTION* \n{\n\tName: " + std::string(300, 'n') +
        "_s \n\tNum Vertex-Positions: 4 \n\tNum Vertex-Normals: 4 \n\tNum Faces: 4 \n}\n";
    EXPECT_EQ(longText.view(), expected);
}

TEST(Mesh, DestroyReleasesEveryArrayAndTheMeshCanBeFilledAgain)
{
    const uint32 before = TX_ArrayServer::instance().arrayCount();
    {
        Mesh mesh = makeTetrahedron();
        mesh.setId(7);
        mesh.getBox();
        mesh.addArray<float>("Weights").resize(4);
        mesh.destroy();
        EXPECT_EQ(TX_ArrayServer::instance().arrayCount(), before);
        EXPECT_EQ(mesh.getId(), noIndex);
        EXPECT_EQ(mesh.getFlags() & 1, 0u);
        EXPECT_TRUE(mesh.getArraySet().empty());
        EXPECT_TRUE(mesh.isEmpty());
        EXPECT_EQ(mesh.getBox(), Box3D::empty());

        mesh.refPos().push_back({1, 2, 3});
        mesh.invalidateBox();
        EXPECT_EQ(mesh.getArraySet().size(), 6u);
        EXPECT_EQ(mesh.getBox().max.z, 3);
    }
    EXPECT_EQ(TX_ArrayServer::instance().arrayCount(), before);
}

TEST(Mesh, UnreserveKeepsAnEmptyMeshAndReserveTightCutsCapacity)
{
    Mesh mesh = makeTetrahedron();
    mesh.setName("tetrahedron");
    mesh.setId(3);
    mesh.refPos().reserve(100);
    mesh.reserveTight();
    EXPECT_EQ(mesh.pos().capacity(), 4u);
    EXPECT_EQ(mesh.getPosSize(), 4u);
    mesh.unreserve();
    EXPECT_EQ(mesh.getName(), TX_String("Nameless"));
    EXPECT_EQ(mesh.getId(), 3u);
    EXPECT_EQ(mesh.getPosSize(), 0u);
    EXPECT_EQ(mesh.getArraySet().size(), 6u);
}

class CountingRenderer : public Mesh_RL
{
public:
    explicit CountingRenderer(int& aliveCount) : alive(aliveCount) { ++alive; }
    ~CountingRenderer() override { --alive; }
    void render(const Mesh& mesh) override { drawnFaces += mesh.getFacesSize(); }
    void render(const Mesh& mesh, const Color4F&) override { drawnFaces += 100 * mesh.getFacesSize(); }
    Mesh_RL_Shader* getShader() const override { return shader; }
    void setShader(Mesh_RL_Shader* fresh) override { shader = fresh; }

    int& alive;
    uint32 drawnFaces = 0;
    Mesh_RL_Shader* shader = nullptr;
};

TEST(Mesh, ForwardsDrawingAndOwnsItsRenderObject)
{
    int alive = 0;
    Mesh_RL_Shader shader;
    Mesh mesh = makeTetrahedron();
    mesh.render();
    mesh.setShader(&shader);
    EXPECT_EQ(mesh.getShader(), nullptr);

    auto* renderer = new CountingRenderer(alive);
    mesh.setMesh_RL(renderer);
    mesh.render();
    mesh.render(Color4F{1, 1, 1, 1});
    mesh.setShader(&shader);
    EXPECT_EQ(renderer->drawnFaces, 404u);
    EXPECT_EQ(mesh.getShader(), &shader);

    Mesh moved(std::move(mesh));
    EXPECT_EQ(moved.getMesh_RL(), renderer);
    moved.initializeRenderObject();
    EXPECT_EQ(moved.getMesh_RL(), renderer) << "a mesh that has one keeps it";
    moved.destroy();
    EXPECT_EQ(alive, 0);
    moved.initializeRenderObject();
    EXPECT_NE(dynamic_cast<Mesh_RL_Dummy*>(moved.getMesh_RL()), nullptr);
}

}  // namespace

}  // namespace tavrix
