#include <gtest/gtest.h>

#include "mesh/TestMeshes.h"

using namespace tavrix;
using test::makeTetrahedron;

static TX_ArrayServer& server() { return TX_ArrayServer::instance(); }

TEST(MeshArrays, ExtraArraysAreFoundByNameAndType)
{
    Mesh mesh;
    auto& uv = mesh.addArray<Vector3F>("UV_MAP_0");
    EXPECT_EQ(mesh.findArray<Vector3F>("UV_MAP_0"), &uv);
    EXPECT_EQ(mesh.findArray<float>("UV_MAP_0"), nullptr);
    EXPECT_TRUE(mesh.findArray("UV_MAP_1").isNone());
    EXPECT_EQ(mesh.findArray("Pos"), mesh.getArrPos());
    MeshArrayInf inf;
    EXPECT_TRUE(mesh.getMeshArrayInf(inf, mesh.findArray("UV_MAP_0")));
    EXPECT_FALSE(mesh.getMeshArrayInf(inf, ArrayHandle{}));
}

TEST(MeshArrays, TheLifeCycleMarkDecidesWhatOutlivesTheMesh)
{
    const ArrayHandle stays = server().create<Array<float>>();
    const ArrayHandle dies = server().create<Array<float>>();
    ArrayHandle leaves;
    {
        Mesh mesh;
        mesh.addArray(stays, "stays", 0);
        mesh.addArray(dies, "dies", 0);
        mesh.addArray<float>("leaves");
        leaves = mesh.findArray("leaves");
        mesh.attachToLifeCycle(dies);
        mesh.attachToLifeCycle(dies);
        mesh.detachFromLifeCycle(leaves);
    }
    EXPECT_FALSE(server().release(dies));
    EXPECT_TRUE(server().release(stays));
    EXPECT_TRUE(server().release(leaves));
}

TEST(MeshArrays, CopiesShareOrDoNotAndReleasingEmptiesTheSlot)
{
    Mesh a = makeTetrahedron(), b;
    ArrayHandle dst = b.getArrPos();
    ASSERT_TRUE(b.copyArrayShallow(dst, a, a.getArrPos()));
    EXPECT_EQ(b.getArrPos(), a.getArrPos());
    EXPECT_EQ(dst, a.getArrPos());

    ASSERT_TRUE(b.createArrayCopyDeep(dst, a, a.getArrPos()));
    b.refPos()[0].x = 1;
    EXPECT_EQ(a.pos()[0].x, 0);
    ASSERT_TRUE(b.copyArrayDeep(b.getArrPos(), a, a.getArrPos()));
    EXPECT_EQ(b.pos()[0].x, 0);
    EXPECT_FALSE(b.copyArrayDeep(b.getArrPos(), a, a.getArrNor())) << "another element type";

    a.addArray<float>("Weights").resize(4);
    ArrayHandle extra;
    ASSERT_TRUE(b.createArrayCopyShallow(extra, a, a.findArray("Weights")));
    EXPECT_EQ(b.findArray("Weights"), extra);
    EXPECT_FALSE(b.createArrayCopyDeep(extra, a, ArrayHandle{}));
    EXPECT_EQ(server().referenceCount(extra), 2u);

    dst = b.getArrPos();
    b.copyArrayShallow(dst, a, a.getArrPos());
    b.copyFrom(Mesh(), false);
    EXPECT_EQ(a.getPosSize(), 4u) << "copying onto a shared array leaves the other sharer alone";

    const ArrayHandle pos = a.getArrPos();
    EXPECT_TRUE(a.releaseArray(pos, TX_SAFE{}));
    EXPECT_FALSE(a.releaseArray(pos, TX_SAFE{}));
    EXPECT_TRUE(a.getArrPos().isNone());
    EXPECT_TRUE(a.refPos().empty());
}

TEST(MeshArrays, FocusRegistersHandlesFilledFromOutside)
{
    Mesh mesh;
    mesh.addArray<float>("Weights");
    mesh.setHandle(Mesh::Slot::Pos, server().create<Array<Vector3D>>(5u));
    mesh.setHandle(Mesh::Slot::NorAllSmoothed, server().create<Array<Vector3F>>(5u));
    mesh.setHandle(Mesh::Slot::BindexPos, server().create<Array<uint32>>(2u));
    EXPECT_EQ(mesh.getPosSize(), 5u);
    mesh.focusHandlesToInternalArrays();
    const std::pair<const char*, uint32> expected[] = {
        {"TrindexPos", 32 | 4},     {"TrindexNor", 32 | 4},
        {"Pos", 64 | 65536},        {"Nor", 131072 | 64},
        {"FaceNor", 131072 | 4},    {"TrindexFacedge", 4},
        {"BindexPos", 2},           {"NorAllSmoothed", 524288 | 131072 | 4},
        {"Weights", 0x80000000 | 1}};
    ASSERT_EQ(mesh.getArraySet().size(), std::size(expected));
    for (uint32 i = 0; i < std::size(expected); ++i)
    {
        EXPECT_EQ(mesh.getArraySet().inf(i).name, TX_String(expected[i].first));
        EXPECT_EQ(mesh.getArraySet().inf(i).flags, expected[i].second) << i;
    }
}
