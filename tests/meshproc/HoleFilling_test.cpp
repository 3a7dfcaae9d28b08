#include <tavrix/meshproc/HoleFilling.h>

#include <cmath>

#include <gtest/gtest.h>

#include <tavrix/mesh/MeshTopology.h>
#include <tavrix/meshproc/MeshTessellator.h>
#include <tavrix/meshproc/SphereTriangulated.h>

#include "mesh/TestMeshes.h"
#include "Polls.h"

using namespace tavrix;

namespace
{

/// The mesh without the faces for which isGone(middle) is true.
template <class IsGone>
Mesh without(const Mesh& mesh, IsGone isGone)
{
    Mesh left = mesh;
    Array<Index3> faces;
    for (const Index3& t : mesh.trindexPos())
        if (!isGone((mesh.pos()[t.a] + mesh.pos()[t.b] + mesh.pos()[t.c]) / 3)) faces.push_back(t);
    left.refTrindexPos() = faces;
    left.createNormals(0.5);
    return left;
}

Mesh makeBall()
{
    Mesh mesh;
    SphereTriangulated<double>::set500Faces(mesh.refPos(), mesh.refTrindexPos());
    mesh.createNormals(4);
    MeshTessellator().splitEdges(mesh, 0.12);
    return mesh;
}

void expectClosed(const Mesh& mesh)
{
    const MeshTopology topology = computeTopology(mesh);
    EXPECT_TRUE(topology.isClosed() && topology.isManifold() && topology.isConsistentlyOriented());
    EXPECT_TRUE(hasValidIndices(mesh));
}

}  // namespace

TEST(HoleFilling, FlatHolesGetFlatFaces)
{
    Mesh cube = test::makeCube();
    cube.createNormals(0.5);
    MeshTessellator().splitEdges(cube, 0.15);
    // a hole that is not convex, in the top
    const Mesh open = without(cube,
                              [](const Vector3D& p)
                              {
                                  const bool inRing =
                                      std::fabs(std::hypot(p.x - 0.5, p.y - 0.5) - 0.3) < 0.12;
                                  return p.z == 1 && inRing && p.x < 0.55;
                              });
    Mesh filled = open;
    auto& labels = filled.addArray<uint32>("label", MeshArrayInf::PER_FACE);
    for (uint32 f = 0; f < open.getFacesSize(); ++f) labels.push_back(f);
    const HoleFillingReport report = fillHoles(filled);
    EXPECT_EQ(report.holesFilled, 1u);
    EXPECT_EQ(report.holesLeft, 0u);
    EXPECT_EQ(filled.getFacesSize(), open.getFacesSize() + report.facesAdded);
    expectClosed(filled);
    EXPECT_NEAR(surfaceArea(filled), 6, 1e-12);
    EXPECT_NEAR(signedVolume(filled), 1, 1e-12);
    EXPECT_EQ(labels.size(), filled.getFacesSize());
    for (uint32 f = open.getFacesSize(); f < filled.getFacesSize(); ++f)
        for (uint32 c = 0; c < 3; ++c) EXPECT_GT(filled.nor()[filled.trindexNor()[f][c]].z, 0.5f);
}

TEST(HoleFilling, EdgesAreWhatBendsLeast)
{
    // the corner of a cube, which three triangles close, and a missing half of its rim
    const Mesh cube = test::makeCube();
    for (uint32 gone = 0; gone < 12; ++gone)
    {
        Mesh open = cube;
        Array<Index3> faces;
        for (uint32 f = 0; f < 12; ++f)
            if (f != gone && f != (gone ^ 1u)) faces.push_back(cube.trindexPos()[f]);
        open.refTrindexPos() = open.refTrindexNor() = faces;
        EXPECT_EQ(fillHoles(open).facesAdded, 2u);
        expectClosed(open);
        EXPECT_NEAR(signedVolume(open), 1, 1e-12);
    }
    const Mesh ball = makeBall();
    Mesh holed =
        without(ball, [](const Vector3D& p) { return p.x > 0.9 || p.y < -0.8 || std::fabs(p.z) > 0.95; });
    const HoleFillingReport report = fillHoles(holed);
    EXPECT_EQ(report.holesFilled, 4u);
    expectClosed(holed);
    EXPECT_EQ(computeTopology(holed).eulerCharacteristic(), 2);
    EXPECT_TRUE(signedVolume(holed) < signedVolume(ball) && signedVolume(holed) > 0.9 * signedVolume(ball));
}

TEST(HoleFilling, LeavesWhatItShould)
{
    const Mesh ball = makeBall();
    Mesh half = without(ball, [](const Vector3D& p) { return p.x > 0.1 || p.x < -0.95; });
    const Mesh before = half;
    const HoleFillingReport report = fillHoles(half, 30);
    EXPECT_EQ(report.holesFilled, 1u);
    EXPECT_EQ(report.holesLeft, 1u);
    EXPECT_GT(report.edgesOfLongest, 30u);
    EXPECT_EQ(fillHoles(half, report.edgesOfLongest).holesFilled, 1u);
    expectClosed(half);

    // of one face the border would be closed by the same again
    Mesh one = test::makeMesh({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {{0, 1, 2}}), none;
    EXPECT_EQ(fillHoles(one).holesFilled, 1u);
    EXPECT_EQ(one.getFacesSize(), 2u);
    EXPECT_EQ(fillHoles(none).holesLeft, 0u);
    for (uint32 seed = 0; seed < 40; ++seed)
    {
        Mesh soup = test::makeRandomSoup(6 + seed, 8 + 3 * seed, seed);
        const uint32 crowded = computeTopology(soup).nonManifoldEdgeCount;
        fillHoles(soup);
        EXPECT_TRUE(hasValidIndices(soup));
        EXPECT_EQ(computeTopology(soup).nonManifoldEdgeCount, crowded);
    }
    Mesh stopped = before;
    const int polls = test::stopAtPolls(
        6,
        [&](CancelCallback callback)
        {
            stopped = before;
            return !fillHoles(stopped, 300, callback).isStopped;
        },
        [&] { EXPECT_EQ(stopped.trindexPos(), before.trindexPos()); });
    EXPECT_GT(polls, 20);
}
