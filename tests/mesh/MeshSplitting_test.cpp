#include <tavrix/mesh/MeshSplitting.h>

#include <algorithm>
#include <set>

#include <gtest/gtest.h>

#include <tavrix/mesh/MeshTopology.h>

#include "mesh/TestMeshes.h"
#include "Polls.h"

using namespace tavrix;
using namespace tavrix::test;

namespace
{

/// Two cubes whose faces take turns, a tetrahedron, and a position without a face; each position and each
/// face has its number.
Mesh numbered()
{
    Mesh mesh = makeCube();
    for (const Mesh& more : {makeCube(), makeTetrahedron()}) mesh.addMesh(more);
    mesh.setName("scene");
    Array<Index3>& faces = mesh.refTrindexPos();
    Array<Index3>& normals = mesh.refTrindexNor();
    for (uint32 f = 1; f < 12; f += 2)
    {
        std::swap(faces[f], faces[f + 11]);
        std::swap(normals[f], normals[f + 11]);
    }
    mesh.refPos().push_back({9, 9, 9});
    Array<float>& ofPositions = mesh.addArray<float>("number");
    for (uint32 n = 0; n < mesh.getPosSize(); ++n) ofPositions.push_back(static_cast<float>(n));
    Array<uint32>& ofFaces = mesh.addArray<uint32>("face", MeshArrayInf::PER_FACE);
    for (uint32 f = 0; f < mesh.getFacesSize(); ++f) ofFaces.push_back(f);
    return mesh;
}

TEST(MeshSplitting, PartsHaveTheirPositionsFacesAndWhatGoesWithThemInOrder)
{
    Mesh mesh = numbered();
    const ArrayOfPtr<Mesh> parts = splitParts(mesh);
    ASSERT_EQ(parts.size(), 3u);
    std::set<uint32> faces;
    uint32 positions = 0;
    for (Mesh* part : parts)
    {
        EXPECT_STREQ(part->getName().c_str(), "scene");
        ASSERT_TRUE(hasValidIndices(*part));
        EXPECT_EQ(countParts(*part), 1u);
        EXPECT_TRUE(computeTopology(*part).isClosed());
        positions += part->getPosSize();
        const Array<float>* ofPositions = part->findArray<float>("number");
        const Array<uint32>* ofFaces = part->findArray<uint32>("face");
        ASSERT_TRUE(ofPositions && ofFaces);
        ASSERT_EQ(ofPositions->size(), part->getPosSize());
        ASSERT_EQ(ofFaces->size(), part->getFacesSize());
        EXPECT_TRUE(std::is_sorted(ofPositions->begin(), ofPositions->end()));
        EXPECT_TRUE(std::is_sorted(ofFaces->begin(), ofFaces->end()));
        for (uint32 f = 0; f < part->getFacesSize(); ++f)
        {
            const uint32 old = (*ofFaces)[f];
            EXPECT_TRUE(faces.insert(old).second);
            for (uint32 corner = 0; corner < 3; ++corner)
            {
                const uint32 n = part->trindexPos()[f][corner];
                EXPECT_EQ((*ofPositions)[n], static_cast<float>(mesh.trindexPos()[old][corner]));
                EXPECT_EQ(part->pos()[n], mesh.pos()[mesh.trindexPos()[old][corner]]);
                EXPECT_EQ(part->nor()[part->trindexNor()[f][corner]],
                          mesh.nor()[mesh.trindexNor()[old][corner]]);
            }
        }
    }
    EXPECT_EQ(faces.size(), mesh.getFacesSize());
    EXPECT_EQ(positions, mesh.getPosSize() - 1);
    EXPECT_EQ((*parts[0]->findArray<uint32>("face"))[0], 0u);
    EXPECT_EQ((*parts[1]->findArray<uint32>("face"))[0], 1u);
}

TEST(MeshSplitting, SmallPartsAreLeftOutAndStopsGiveNone)
{
    Mesh mesh = numbered();
    EXPECT_EQ(splitParts(mesh, 5).size(), 2u);
    EXPECT_EQ(splitParts(mesh, 13).size(), 0u);
    EXPECT_EQ(splitParts(Mesh()).size(), 0u);
    mesh.refNor().clear();
    EXPECT_TRUE(splitParts(mesh)[0]->nor().empty());

    const Mesh many = makeRandomSoup(300000, 200000, 1);
    const auto run = [&](CancelCallback callback) { return splitParts(many, 1, callback).size() > 0; };
    EXPECT_GT(stopAtPolls(4, run, [] {}), 4);
}

}  // namespace
