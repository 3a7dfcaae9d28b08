#include <gtest/gtest.h>

#include "mesh/TestMeshes.h"

using namespace tavrix;
using test::makeMesh;
using test::makeTetrahedron;

TEST(MeshCopy, CopyFromIsDeepAndResetsTheNameUnlessAsked)
{
    Mesh source = makeTetrahedron();
    source.setName("source");
    source.setId(42);
    source.getBox();
    source.addArray<float>("Weights");

    Mesh copy;
    copy.setName("old");
    copy.copyFrom(source, false);
    EXPECT_EQ(copy.getName(), TX_String("Nameless"));
    EXPECT_EQ(copy.getId(), 42u);
    EXPECT_EQ(copy.getFlags() & 1, 1u);
    EXPECT_EQ(copy.getBox(), source.getBox());
    EXPECT_EQ(copy.pos(), source.pos());
    EXPECT_EQ(copy.trindexNor(), source.trindexNor());
    EXPECT_TRUE(copy.findArray("Weights").isNone());
    EXPECT_NE(copy.getArrPos(), source.getArrPos());

    source.invalidateBox();
    copy = source;
    EXPECT_EQ(copy.getName(), TX_String("source"));
    EXPECT_EQ(copy.getFlags() & 1, 0u);
    copy.copyFrom(copy, false);
    EXPECT_EQ(copy.getName(), TX_String("source"));
    EXPECT_EQ(copy.getPosSize(), 4u);
}

TEST(MeshCopy, CopyAllAndMoveTakeTheExtraArrays)
{
    const uint32 before = TX_ArrayServer::instance().arrayCount();
    {
        Mesh copy;
        {
            Mesh source = makeTetrahedron();
            source.setName("source");
            source.addArray<float>("Weights").assign(4, 0.5f);
            const ArrayHandle hosts = TX_ArrayServer::instance().create<Array<float>>(4u, 1.5f);
            source.addArray(hosts, "host's", 0);
            copy.copyAllFrom(source, true);
            TX_ArrayServer::instance().release(hosts);
        }
        const ArrayHandle pos = copy.getArrPos();
        Mesh taken = makeTetrahedron();
        taken.reincarnate(copy);
        EXPECT_EQ(copy.getName(), TX_String("Nameless"));
        EXPECT_TRUE(copy.isEmpty());
        Mesh moved = std::move(taken);
        Mesh& itself = moved;
        moved = std::move(itself);
        EXPECT_EQ(moved.getName(), TX_String("source"));
        EXPECT_EQ(moved.getArrPos(), pos);
        copy = std::move(moved);
        ASSERT_NE(copy.findArray<float>("Weights"), nullptr);
        EXPECT_EQ(*copy.findArray<float>("Weights"), Array<float>(4, 0.5f));
        EXPECT_EQ(*copy.findArray<float>("host's"), Array<float>(4, 1.5f));
    }
    EXPECT_EQ(TX_ArrayServer::instance().arrayCount(), before);
}

TEST(MeshCopy, PartialCopyTakesOneConnectedPart)
{
    Mesh both = makeTetrahedron();
    both.addMesh(makeMesh({{9, 9, 9}, {5, 0, 0}, {6, 0, 0}, {5, 1, 0}}, {{3, 1, 2}}));
    Mesh part;
    Array<uint32> source;
    part.copyPartialFrom(both, 4, source);
    EXPECT_EQ(source, Array<uint32>({5, 6, 7}));
    EXPECT_EQ(part.trindexPos(), Array<Index3>({{2, 0, 1}}));
    EXPECT_EQ(part.pos(), Array<Vector3D>({{5, 0, 0}, {6, 0, 0}, {5, 1, 0}}));
    EXPECT_EQ(part.nor().size(), 3u);
    both.copyPartialFrom(both, 1, source);
    EXPECT_EQ(both.trindexPos(), makeTetrahedron().trindexPos());
    both.copyPartialFrom(part, 1, source);
    EXPECT_TRUE(both.isEmpty());
}

TEST(MeshCopy, NormalTriplesWithoutNormalsStayBehind)
{
    Mesh flat = makeMesh({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {{0, 1, 2}});
    Mesh upright = makeMesh({{5, 0, 0}, {5, 1, 0}, {5, 0, 1}}, {{0, 1, 2}});
    for (Mesh* mesh : {&flat, &upright}) mesh->refNor().clear();
    Mesh part;
    Array<uint32> source;
    part.copyPartialFrom(flat, 0, source);
    EXPECT_EQ(part.getFacesSize(), 1u);
    EXPECT_TRUE(part.trindexNor().empty());

    flat.addMesh(upright);
    flat.recalculateNormals();
    EXPECT_EQ(flat.nor()[flat.trindexNor()[0].a], (Vector3F{0, 0, 1}));
    EXPECT_EQ(flat.nor()[flat.trindexNor()[1].a], (Vector3F{1, 0, 0}));
}

TEST(MeshCopy, AddMeshRenumbersWhatItAppends)
{
    const auto at = [](uint32 f, uint32 e) { return IndexFacedge::of(f, e); };
    constexpr IndexFacedge none = IndexFacedge::none();
    Mesh mesh = makeMesh({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {1, 1, 0}}, {{0, 1, 2}, {2, 1, 3}});
    mesh.refNor().push_back({0, 0, 1});
    mesh.refTrindexFacedge() = {{none, at(1, 0), none}, {at(0, 1), none, none}};
    mesh.refFaceNor().assign(2, Wector3F{0, 0, 1, 0.5f});
    mesh.getBox();

    mesh.addMesh(mesh);
    EXPECT_EQ(mesh.getFlags() & 1, 0u);
    EXPECT_EQ(mesh.getPosSize(), 8u);
    EXPECT_EQ(mesh.nor().size(), 10u);
    EXPECT_EQ(mesh.trindexPos(), Array<Index3>({{0, 1, 2}, {2, 1, 3}, {4, 5, 6}, {6, 5, 7}}));
    EXPECT_EQ(mesh.trindexNor(), Array<Index3>({{0, 1, 2}, {2, 1, 3}, {5, 6, 7}, {7, 6, 8}}));
    EXPECT_EQ(mesh.trindexFacedge()[2], (FacedgeTriple{none, at(3, 0), none}));
    EXPECT_EQ(mesh.trindexFacedge()[3], (FacedgeTriple{at(2, 1), none, none}));
    EXPECT_EQ(mesh.faceNor().size(), 4u);

    mesh.addMesh(makeTetrahedron());
    EXPECT_EQ(mesh.getFacesSize(), 8u);
    EXPECT_TRUE(mesh.trindexFacedge().empty())
        << "the tetrahedron has none: face-edges of some faces only would lie";
    EXPECT_TRUE(mesh.faceNor().empty());
    EXPECT_EQ(mesh.trindexNor().size(), 8u);
}

TEST(MeshCopy, ManyMeshesAreJoinedInFewAllocations)
{
    Mesh piece = makeTetrahedron();
    piece.recalculateNormals();
    piece.createSafe_arrTrindexFacedge();
    Mesh all;
    const auto room = [&]
    {
        return all.pos().capacity() + all.nor().capacity() + all.faceNor().capacity() +
               all.trindexPos().capacity() + all.trindexNor().capacity() + all.trindexFacedge().capacity();
    };
    uint32 growths = 0;
    for (uint32 n = 0; n < 4000; ++n)
    {
        const uint32 before = room();
        all.addMesh(piece);
        growths += room() != before;
    }
    EXPECT_EQ(all.trindexFacedge().size(), 16000u);
    EXPECT_LT(growths, 6u * 90) << "arrays grow by an eighth";
}
