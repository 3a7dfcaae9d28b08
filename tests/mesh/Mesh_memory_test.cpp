#if !defined(_WIN32)

#include <gtest/gtest.h>

#include <functional>
#include <utility>

#include <tavrix/mesh/MeshTopology.h>

#include "FailingAllocations.h"
#include "mesh/TestMeshes.h"

namespace tavrix
{

namespace
{

using test::makeTerrain;

/// A mesh with everything that the library builds, and a name too long to be stored without an allocation.
Mesh makeFullMesh()
{
    Mesh mesh = makeTerrain(9);
    mesh.setName("a name longer than any buffer inside a string");
    mesh.recalculateNormals();
    mesh.createSafe_arrTrindexFacedge();
    mesh.createSafe_arrBindexFacedge();
    mesh.createSafe_PosConnectivityToPos();
    mesh.createSafe_PosConnectivityToEdges();
    mesh.createSafe_PosConnectivityToFaces();
    mesh.addArray<float>("weights of the positions, one for each of them").assign(mesh.getPosSize(), 1.0f);
    mesh.getBox();
    return mesh;
}

bool holds(const Array<BlockDesc>& info, const Array<uint32>& data)
{
    for (const BlockDesc& block : info)
        if (uint64{block.start} + block.count > data.size()) return false;
    return true;
}

/// True when whatever the mesh holds fits together.
bool isSound(const Mesh& mesh)
{
    Mesh fresh;
    fresh.refPos() = mesh.pos();
    return hasValidIndices(mesh) && mesh.nor().size() == mesh.getPosSize() &&
           mesh.getBox() == fresh.getBox() && holds(mesh.posPosInfo(), mesh.posPosData()) &&
           holds(mesh.posEdgeInfo(), mesh.posEdgeData()) && holds(mesh.posFaceInfo(), mesh.posFaceData());
}

TEST(MeshMemory, StaysSoundWhereverAnAllocationFails)
{
    const Mesh source = makeFullMesh();
    const ArrayHandle extra = source.findArray("weights of the positions, one for each of them");
    Array<uint32> positions;
    const std::pair<const char*, std::function<void(Mesh&)>> operations[] = {
        {"copy construction", [&](Mesh&) { const Mesh copy(source); }},
        {"copyFrom", [&](Mesh& mesh) { mesh.copyFrom(source, true); }},
        {"copyAllFrom", [&](Mesh& mesh) { mesh.copyAllFrom(source, true); }},
        {"copyPartialFrom", [&](Mesh& mesh) { mesh.copyPartialFrom(source, 3, positions); }},
        {"addMesh", [&](Mesh& mesh) { mesh.addMesh(source); }},
        {"assign", [&](Mesh& mesh) { mesh.assign(source.getName(), source.pos(), source.trindexPos(), 4); }},
        {"shallow copy",
         [&](Mesh& mesh)
         {
             ArrayHandle copy;
             mesh.copyArrayShallow(copy, source, extra);
         }},
        {"deep copy",
         [&](Mesh& mesh)
         {
             ArrayHandle copy;
             mesh.createArrayCopyDeep(copy, source, extra);
         }},
        {"lists",
         [&](Mesh& mesh)
         {
             mesh.invalidateConnectivity();
             mesh.createSafe_PosConnectivityToPos();
             mesh.createSafe_PosConnectivityToEdges();
             mesh.createSafe_PosConnectivityToFaces();
         }},
        {"normals by three threads", [](Mesh& mesh) { mesh.recalculateNormalsParallelized(3); }},
    };
    const uint32 before = TX_ArrayServer::instance().arrayCount();
    for (const auto& [name, operation] : operations)
    {
        bool failed = true;
        for (int n = 0; failed; ++n)
        {
            ASSERT_LT(n, 2000) << name;
            {
                Mesh mesh = makeFullMesh();
                failed = test::failsAtAllocation(n, [&, &run = operation] { run(mesh); });
                EXPECT_TRUE(isSound(mesh)) << name << ", allocation " << n;
            }
            ASSERT_EQ(TX_ArrayServer::instance().arrayCount(), before) << name << ", allocation " << n;
        }
    }
}

TEST(MeshMemory, ListsThatFailedAreBuiltTheNextTime)
{
    Mesh whole = makeTerrain(9);
    whole.createSafe_PosConnectivityToPos();
    whole.createSafe_arrBindexFacedge();
    for (int n = 0; n < 20; ++n)
    {
        Mesh mesh = makeTerrain(9);
        test::failsAtAllocation(n,
                                [&]
                                {
                                    mesh.createSafe_arrBindexFacedge();
                                    mesh.createSafe_PosConnectivityToPos();
                                });
        mesh.createSafe_PosConnectivityToPos();
        mesh.createSafe_arrBindexFacedge();
        EXPECT_EQ(mesh.posPosData(), whole.posPosData()) << n;
        EXPECT_EQ(mesh.bindexFacedge(), whole.bindexFacedge()) << n;
    }
}

}  // namespace

}  // namespace tavrix

#endif
