#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <set>
#include <vector>

#include "mesh/TestMeshes.h"

using namespace tavrix;

namespace
{

using Lists = std::vector<std::vector<uint32>>;
using Edge = std::pair<uint32, uint32>;

Lists unpack(const Array<BlockDesc>& info, const Array<uint32>& data)
{
    Lists lists;
    for (const BlockDesc& block : info)
        lists.emplace_back(data.begin() + block.start, data.begin() + block.start + block.count);
    return lists;
}

/// The face-edges of every undirected edge, by exhaustive bookkeeping.
std::map<Edge, std::vector<uint32>> edgesOf(const Mesh& mesh)
{
    std::map<Edge, std::vector<uint32>> edges;
    for (uint32 f = 0; f < mesh.getFacesSize(); ++f)
    {
        const Index3 t = mesh.trindexPos()[f];
        if (std::set<uint32>{t.a, t.b, t.c}.size() < 3) continue;
        for (uint32 e = 0; e < 3; ++e)
        {
            const uint32 p = t[e], q = t[(e + 1) % 3];
            edges[{std::min(p, q), std::max(p, q)}].push_back(f * 4 + e);
        }
    }
    return edges;
}

void expectAsBruteForce(Mesh& mesh)
{
    test::connect(mesh);
    const auto edges = edgesOf(mesh);
    ASSERT_EQ(mesh.bindexPos().size(), 2 * edges.size());
    ASSERT_EQ(mesh.bindexFacedge().size(), 2 * edges.size());
    Lists posPos(mesh.getPosSize()), posEdge(mesh.getPosSize()), posFace(mesh.getPosSize());
    uint32 latestUse = 0;
    for (uint32 e = 0; e < edges.size(); ++e)
    {
        const uint32 p = mesh.bindexPos()[2 * e], q = mesh.bindexPos()[2 * e + 1];
        const auto found = edges.find({std::min(p, q), std::max(p, q)});
        ASSERT_NE(found, edges.end());
        const std::vector<uint32>& uses = found->second;
        const Index3 t = mesh.trindexPos()[uses[0] / 4];
        EXPECT_EQ(t[uses[0] % 4], p) << "an edge runs as its first use does";
        EXPECT_TRUE(e == 0 || uses[0] > latestUse) << "edges are numbered in the order of first use";
        latestUse = uses[0];
        EXPECT_EQ(mesh.bindexFacedge()[2 * e], uses[0]);
        EXPECT_EQ(mesh.bindexFacedge()[2 * e + 1], uses.size() == 2 ? uses[1] : noIndex);
        posPos[p].push_back(q), posPos[q].push_back(p);
        posEdge[p].push_back(e), posEdge[q].push_back(e);
    }
    std::vector<uint32> neighbours(4 * mesh.getFacesSize(), noIndex);
    for (const auto& [edge, uses] : edges)
        if (uses.size() == 2) neighbours[uses[0]] = uses[1], neighbours[uses[1]] = uses[0];
    ASSERT_EQ(mesh.trindexFacedge().size(), mesh.getFacesSize());
    for (uint32 f = 0; f < mesh.getFacesSize(); ++f)
    {
        for (uint32 e = 0; e < 3; ++e) EXPECT_EQ(mesh.trindexFacedge()[f][e].value, neighbours[4 * f + e]);
        const Index3 t = mesh.trindexPos()[f];
        for (const uint32 p : std::set<uint32>{t.a, t.b, t.c}) posFace[p].push_back(f);
    }
    EXPECT_EQ(unpack(mesh.posPosInfo(), mesh.posPosData()), posPos);
    EXPECT_EQ(unpack(mesh.posEdgeInfo(), mesh.posEdgeData()), posEdge);
    EXPECT_EQ(unpack(mesh.posFaceInfo(), mesh.posFaceData()), posFace);
}

}  // namespace

TEST(MeshConnectivity, AgreesWithBruteForce)
{
    Mesh hub;
    hub.refPos().assign(400, Vector3D{0, 0, 0});
    for (uint32 i = 1; i < 399; ++i)
        hub.refTrindexPos().push_back({0, (i * 37) % 399 + 1, (i * 37 + 37) % 399 + 1});
    for (Mesh mesh : {Mesh(), test::makeTerrain(9), test::makeTetrahedron(), hub}) expectAsBruteForce(mesh);
    for (uint32 seed = 0; seed < 12; ++seed)
    {
        Mesh soup = test::makeRandomSoup(seed < 6 ? 8 : 200, 150, seed);
        expectAsBruteForce(soup);
    }
}

TEST(MeshConnectivity, IsBuiltOnceAndThrownAwayOnRequest)
{
    Mesh mesh = test::makeTerrain(4);
    test::connect(mesh);
    mesh.createSafe_arrNorSurface();
    EXPECT_EQ(mesh.getArraySet().size(), meshSlotCount);
    const ArrayHandle kept = mesh.getArrPosPosInfo();
    test::connect(mesh);
    EXPECT_EQ(mesh.getArrPosPosInfo(), kept);

    Mesh copy(mesh);
    EXPECT_EQ(copy.posEdgeData(), mesh.posEdgeData());
    EXPECT_TRUE(copy.handleOf(Mesh::Slot::PosFaceInfo).isNone()) << "left behind on purpose";
    copy.copyAllFrom(mesh, false);
    EXPECT_EQ(copy.posFaceData(), mesh.posFaceData());

    mesh.invalidateConnectivity();
    for (uint32 slot = 5; slot < 14; ++slot)
        EXPECT_TRUE(mesh.handleOf(static_cast<Mesh::Slot>(slot)).isNone());
    EXPECT_FALSE(mesh.getArrNorSurface().isNone());

    mesh.copyConnectivityFrom(TX_CopyMode::Shallow, copy);
    EXPECT_EQ(mesh.getArrPosPosData(), copy.getArrPosPosData());
    mesh.copyConnectivityFrom(TX_CopyMode::Deep, copy);
    EXPECT_NE(mesh.getArrPosPosData(), copy.getArrPosPosData());
    EXPECT_EQ(mesh.trindexFacedge(), copy.trindexFacedge());

    mesh.addMesh(mesh);
    EXPECT_TRUE(mesh.getArrPosPosInfo().isNone());
    EXPECT_TRUE(mesh.getArrNorSurface().isNone());
    const Array<FacedgeTriple> moved = mesh.trindexFacedge();
    mesh.invalidateConnectivityBasic();
    mesh.createSafe_arrTrindexFacedge();
    EXPECT_EQ(mesh.trindexFacedge(), moved) << "what addMesh renumbers is what the builder finds";
}
