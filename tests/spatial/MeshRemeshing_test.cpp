#include <tavrix/spatial/MeshRemeshing.h>

#include <algorithm>
#include <cmath>
#include <limits>

#include <gtest/gtest.h>

#include <tavrix/foundation/ElementaryFunctions.h>
#include <tavrix/mesh/MeshTopology.h>
#include <tavrix/meshproc/MeshTessellator.h>
#include <tavrix/spatial/MeshCollider.h>

#include "mesh/TestMeshes.h"
#include "Polls.h"

using namespace tavrix;

namespace
{

using Status = RemeshingStatus;

/// A torus of long thin faces.
Mesh makeTorus(uint32 n, uint32 m)
{
    Mesh mesh;
    for (uint32 i = 0; i < n; ++i)
        for (uint32 k = 0; k < m; ++k)
        {
            const double u = 2 * piValue * i / n, v = 2 * piValue * k / m, r = 1 + 0.4 * std::cos(v);
            mesh.refPos().push_back({r * std::cos(u), r * std::sin(u), 0.4 * std::sin(v)});
            const uint32 a = i * m + k, b = (i + 1) % n * m + k, c = (i + 1) % n * m + (k + 1) % m,
                         d = i * m + (k + 1) % m;
            mesh.refTrindexPos().push_back({a, b, c});
            mesh.refTrindexPos().push_back({a, c, d});
        }
    return mesh;
}

RemeshingReport remesh(Mesh& mesh, const RemeshingSettings& settings)
{
    const RemeshingReport report = remeshIsotropically(mesh, settings);
    EXPECT_EQ(report.status, Status::Done);
    EXPECT_EQ(report.faces, mesh.getFacesSize());
    EXPECT_TRUE(hasValidIndices(mesh));
    return report;
}

struct Shape
{
    double meanLeastAngle, leastAngle;  ///< in degrees
    double shortest, longest;
};

Shape shapeOf(const Mesh& mesh)
{
    Shape shape{0, 180, 1e300, 0};
    for (const Index3& t : mesh.trindexPos())
    {
        double least = 180;
        for (uint32 c = 0; c < 3; ++c)
        {
            const Vector3D a = mesh.pos()[t[(c + 1) % 3]] - mesh.pos()[t[c]];
            const Vector3D b = mesh.pos()[t[(c + 2) % 3]] - mesh.pos()[t[c]];
            least = std::min(least, std::acos(dot(a, b) / length(a) / length(b)) * 180 / piValue);
            shape.shortest = std::min(shape.shortest, length(a));
            shape.longest = std::max(shape.longest, length(a));
        }
        shape.leastAngle = std::min(shape.leastAngle, least);
        shape.meanLeastAngle += least / mesh.getFacesSize();
    }
    return shape;
}

/// How far the vertices of one mesh lie from the surface of another.
double farthest(const Mesh& mesh, const Mesh& from)
{
    MeshCollider collider;
    collider.create(from);
    double most = 0;
    for (const Vector3D& p : mesh.pos()) most = std::max(most, collider.nearestPoint(p)->distance);
    return most;
}

}  // namespace

TEST(MeshRemeshing, FacesBecomeEvenOnTheSameSurface)
{
    for (const double edge : {0.03, 0.08})
    {
        SCOPED_TRACE(edge);
        const Mesh given = makeTorus(400, 60);
        Mesh mesh = given;
        const RemeshingReport report = remesh(mesh, {edge});
        const MeshTopology topology = computeTopology(mesh);
        EXPECT_TRUE(topology.isClosed() && topology.isManifold() && topology.isConsistentlyOriented());
        EXPECT_EQ(topology.eulerCharacteristic(), 0);
        EXPECT_EQ(countParts(mesh), 1u);
        const Shape shape = shapeOf(mesh);
        EXPECT_GT(shape.meanLeastAngle, 50);
        EXPECT_GT(shape.leastAngle, 25);
        EXPECT_TRUE(shape.shortest > 0.4 * edge && shape.longest < 1.6 * edge);
        EXPECT_LT(farthest(mesh, given), 1e-12);
        // how far the middle of an equilateral face of the longest edges lies within the tube, and an edge of
        // the given mesh
        const double depth = 16 * edge * edge / 27 / 0.8 + 0.4 * std::pow(2 * piValue / 60, 2) / 8;
        EXPECT_LT(farthest(given, mesh), depth);
        EXPECT_LT(report.distance, depth);
        EXPECT_NEAR(signedVolume(mesh) / signedVolume(given), 1, 2 * edge * edge);
    }
}

TEST(MeshRemeshing, SharpEdgesAndBordersStay)
{
    Mesh cube = test::makeCube();
    cube.createNormals(0.5);
    remesh(cube, {0.11});
    EXPECT_NEAR(signedVolume(cube), 1, 1e-12);
    EXPECT_NEAR(surfaceArea(cube), 6, 1e-12);
    EXPECT_GT(shapeOf(cube).leastAngle, 20);
    EXPECT_EQ(cube.trindexNor().size(), cube.getFacesSize());
    for (const Vector3F& n : cube.nor())
        EXPECT_NEAR(std::max({std::fabs(n.x), std::fabs(n.y), std::fabs(n.z)}), 1, 1e-6);

    Mesh sheet = test::makeTerrain(12);
    for (Vector3D& p : sheet.refPos()) p.z = 0;
    const double area = surfaceArea(sheet);
    remesh(sheet, {0.07});
    EXPECT_NEAR(surfaceArea(sheet), area, 1e-12);
    EXPECT_EQ(computeTopology(sheet).eulerCharacteristic(), 1);
    EXPECT_TRUE(computeTopology(sheet).isManifold());

    // a round border stays on its circle's polygon
    Mesh half = makeTorus(300, 60);
    Array<Index3> faces;
    for (const Index3& t : half.trindexPos())
        if (half.pos()[t.a].x + half.pos()[t.b].x + half.pos()[t.c].x > 0) faces.push_back(t);
    half.refTrindexPos() = faces;
    const Mesh given = half;
    remesh(half, {0.06});
    EXPECT_EQ(computeTopology(half).eulerCharacteristic(), 0);
    EXPECT_NEAR(surfaceArea(half) / surfaceArea(given), 1, 0.01);
    EXPECT_LT(farthest(half, given), 1e-12);
}

TEST(MeshRemeshing, WhatIsNoManifoldStaysThere)
{
    Mesh fin = makeTorus(40, 20);
    fin.refPos().push_back({0, 0, 2});
    fin.refTrindexPos().push_back({0, 20, 800});
    const MeshTopology before = computeTopology(fin);
    remesh(fin, {0.1});
    const MeshTopology after = computeTopology(fin);
    EXPECT_EQ(after.nonManifoldEdgeCount, before.nonManifoldEdgeCount);
    EXPECT_EQ(after.nonManifoldVertexCount, before.nonManifoldVertexCount);
    EXPECT_EQ(after.eulerCharacteristic(), before.eulerCharacteristic());

    Mesh touching = test::makeCube();
    touching.addMesh(touching);
    for (uint32 v = 8; v < 16; ++v) touching.refPos()[v] += Vector3D{1, 1, 1};
    for (Index3& t : touching.refTrindexPos())
        for (uint32 c = 0; c < 3; ++c) t[c] = t[c] == 8 ? 7 : t[c];
    remesh(touching, {0.3});
    EXPECT_EQ(computeTopology(touching).nonManifoldVertexCount, 1u);
    EXPECT_NEAR(signedVolume(touching), 2, 1e-12);
}

TEST(MeshRemeshing, AnyMeshIsAnswered)
{
    for (uint32 seed = 0; seed < 30; ++seed)
    {
        Mesh soup = test::makeRandomSoup(5 + 3 * seed, 6 + 7 * seed, seed);
        if (seed % 3 == 0) soup.refPos()[1].x = std::numeric_limits<double>::quiet_NaN();
        if (seed % 5 == 0) soup.refPos()[2] = soup.pos()[3];
        remesh(soup, {seed % 2 == 0 ? 0.2 : 3, 0.5, 3});
    }
    Mesh none, cube = test::makeCube(), bad = test::makeCube();
    EXPECT_EQ(remeshIsotropically(none, {1}).status, Status::Done);
    for (const double edge : {0.0, -1.0, std::nan(""), std::numeric_limits<double>::infinity()})
        EXPECT_EQ(remeshIsotropically(cube, {edge}).status, Status::BadEdge);
    EXPECT_EQ(remeshIsotropically(cube, {1e-6}).status, Status::TooLarge);
    EXPECT_EQ(cube.getFacesSize(), 12u);
    bad.refTrindexPos()[0].a = 8;
    EXPECT_EQ(remeshIsotropically(bad, {1}).status, Status::BadIndices);
}

TEST(MeshRemeshing, ThreadsChangeNothingAndStopsLeaveTheMesh)
{
    const Mesh torus = makeTorus(100, 30);
    const auto sum = [](const Mesh& mesh) { return test::checksum(mesh.pos(), mesh.trindexPos()); };
    Mesh one = torus, four = torus, stopped = torus;
    remesh(one, {0.05, 0.7, 3, 1});
    remesh(four, {0.05, 0.7, 3, 4});
    EXPECT_EQ(sum(one), sum(four));
    const int polls = test::stopAtPolls(
        8,
        [&](CancelCallback callback)
        {
            stopped = torus;
            return remeshIsotropically(stopped, {0.05, 0.7, 2, 2}, callback).status == Status::Done;
        },
        [&] { EXPECT_EQ(sum(stopped), sum(torus)); });
    EXPECT_GT(polls, 20);
}
