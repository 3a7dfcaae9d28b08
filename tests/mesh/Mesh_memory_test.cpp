#if !defined(_WIN32)

#include <gtest/gtest.h>

#include <functional>
#include <utility>

#include <tavrix/mesh/MeshTopology.h>

#include "FailingAllocations.h"
#include "mesh/TestMeshes.h"

using namespace tavrix;

/// A mesh with everything that the library builds, and a name too long to be stored without an allocation.
static Mesh makeFullMesh()
{
    Mesh mesh = test::makeTerrain(9);
    mesh.setName("a name longer than any buffer inside a string");
    mesh.recalculateNormals();
    test::connect(mesh);
    mesh.addArray<float>("weights of the positions, one for each of them").assign(mesh.getPosSize(), 1.0f);
    mesh.getBox();
    return mesh;
}

/// What the mesh holds fits together, and lists that are not there are made as for any mesh.
static void expectSound(Mesh& mesh)
{
    Mesh fresh = test::makeMesh(mesh.pos(), mesh.trindexPos());
    EXPECT_TRUE(hasValidIndices(mesh));
    EXPECT_EQ(mesh.nor().size(), mesh.getPosSize());
    EXPECT_EQ(mesh.getBox(), fresh.getBox());
    test::connect(mesh);
    test::connect(fresh);
    EXPECT_EQ(mesh.posPosData(), fresh.posPosData());
    EXPECT_EQ(mesh.posEdgeData(), fresh.posEdgeData());
    EXPECT_EQ(mesh.posFaceData(), fresh.posFaceData());
    EXPECT_EQ(mesh.bindexFacedge(), fresh.bindexFacedge());
}

TEST(MeshMemory, StaysSoundWhereverAnAllocationFails)
{
    const Mesh source = makeFullMesh();
    const ArrayHandle extra = source.findArray("weights of the positions, one for each of them");
    ArrayHandle copy;
    Array<uint32> positions;
    const std::pair<const char*, std::function<void(Mesh&)>> operations[] = {
        {"copy construction", [&](Mesh&) { const Mesh whole(source); }},
        {"copyFrom", [&](Mesh& mesh) { mesh.copyFrom(source, true); }},
        {"copyAllFrom", [&](Mesh& mesh) { mesh.copyAllFrom(source, true); }},
        {"copyPartialFrom", [&](Mesh& mesh) { mesh.copyPartialFrom(source, 3, positions); }},
        {"addMesh", [&](Mesh& mesh) { mesh.addMesh(source); }},
        {"assign", [&](Mesh& mesh) { mesh.assign(source.getName(), source.pos(), source.trindexPos(), 4); }},
        {"shallow copy", [&](Mesh& mesh) { mesh.copyArrayShallow(copy = {}, source, extra); }},
        {"deep copy", [&](Mesh& mesh) { mesh.createArrayCopyDeep(copy = {}, source, extra); }},
        {"lists",
         [&](Mesh& mesh)
         {
             mesh.invalidateConnectivity();
             test::connect(mesh);
         }},
        {"normals", [](Mesh& mesh) { mesh.recalculateNormalsParallelized(3); }},
    };
    const uint32 before = TX_ArrayServer::instance().arrayCount();
    for (const auto& [name, operation] : operations)
    {
        SCOPED_TRACE(name);
        bool failed = true;
        for (int n = 0; failed; ++n)
        {
            ASSERT_LT(n, 2000);
            {
                Mesh mesh = makeFullMesh();
                failed = test::failsAtAllocation(n, [&, &run = operation] { run(mesh); });
                expectSound(mesh);
            }
            ASSERT_EQ(TX_ArrayServer::instance().arrayCount(), before) << "allocation " << n;
        }
    }
}

#endif
