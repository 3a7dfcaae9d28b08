#include <tavrix/meshproc/MeshTessellator.h>

#include <cmath>
#include <map>
#include <random>

#include <gtest/gtest.h>

#include <tavrix/foundation/ElementaryFunctions.h>
#include <tavrix/foundation/Vector2.h>
#include <tavrix/mesh/MeshTopology.h>
#include <tavrix/meshproc/SphereTriangulated.h>

#include "mesh/TestMeshes.h"
#include "Polls.h"

using namespace tavrix;

namespace
{

using Status = TessellationStatus;

Mesh subdivided(Mesh mesh, const SubdivisionSettings& settings, uint32 threads = 1)
{
    const TessellationReport report = MeshTessellator(threads).subdivide(mesh, settings);
    EXPECT_EQ(report.status, Status::Done);
    EXPECT_EQ(report.faces, mesh.getFacesSize());
    EXPECT_TRUE(hasValidIndices(mesh));
    return mesh;
}

Mesh makeIcosahedron(double bumps = 0)
{
    std::mt19937 random(7);
    Mesh mesh;
    SphereTriangulated<double>::set20Faces(mesh.refPos(), mesh.refTrindexPos());
    for (Vector3D& p : mesh.refPos()) p *= 1 + bumps * (static_cast<double>(random() % 2001) / 1000 - 1);
    return mesh;
}

/// A cone of 9 faces without a bottom, the border of which has three faces beside one of its vertices.
Mesh makeTent()
{
    Mesh mesh;
    mesh.refPos().push_back({0.1, 0, 1});
    for (uint32 n = 0; n < 9; ++n)
    {
        const double turn = 2 * piValue * n / 9;
        mesh.refPos().push_back({std::cos(turn), 1.3 * std::sin(turn), 0.2 * std::cos(3 * turn)});
        mesh.refTrindexPos().push_back({0, n + 1, (n + 1) % 9 + 1});
    }
    mesh.refPos().push_back({2, 0.5, -0.3});
    mesh.refTrindexPos().push_back({1, 10, 2});
    return mesh;
}

/// A solid in the form of an L, with a re-entrant edge.
Mesh makeAngle()
{
    Mesh mesh;
    for (const double z : {0.0, 1.0})
        for (const auto& [x, y] : {std::pair(0, 0), {2, 0}, {2, 1}, {1, 1}, {1, 2}, {0, 2}})
            mesh.refPos().push_back({x * 1.0, y * 1.0, z});
    for (uint32 n = 0; n < 6; ++n)
    {
        const uint32 next = (n + 1) % 6;
        mesh.refTrindexPos().push_back({n, next, n + 6});
        mesh.refTrindexPos().push_back({next, next + 6, n + 6});
    }
    for (const Index3& t : {Index3{3, 0, 1}, {3, 1, 2}, {3, 5, 0}, {3, 4, 5}})
    {
        mesh.refTrindexPos().push_back({t.c, t.b, t.a});
        mesh.refTrindexPos().push_back({t.a + 6, t.b + 6, t.c + 6});
    }
    return mesh;
}

/// How far the first vertices of two meshes lie apart at most.
double farthest(const Mesh& a, const Mesh& b, uint32 count)
{
    double most = 0;
    for (uint32 v = 0; v < count; ++v) most = std::max(most, length(a.pos()[v] - b.pos()[v]));
    return most;
}

/// The least cosine between the normals of the faces' corners and those of faces that lie within them.
double leastAgreement(const Mesh& mesh, const Mesh& fine)
{
    Array<Wector3F> faceNormals;
    Mesh::staticCalculateNormals(fine.pos(), fine.trindexPos(), faceNormals);
    const uint32 ratio = fine.getFacesSize() / mesh.getFacesSize();
    double least = 1;
    for (uint32 f = 0; f < mesh.getFacesSize(); ++f)
        for (uint32 n = 0; n < ratio; ++n)
            for (uint32 c = 0; c < 3; ++c)
            {
                const uint32 within = f * ratio + n, corner = mesh.trindexPos()[f][c];
                const Index3& t = fine.trindexPos()[within];
                if (t.a != corner && t.b != corner && t.c != corner) continue;
                const Wector3F& normal = faceNormals[within];
                const Vector3F& own = mesh.nor()[mesh.trindexNor()[f][c]];
                least = std::min(least, double{dot(own, Vector3F{normal.x, normal.y, normal.z})});
            }
    return least;
}

}  // namespace

/// What the masks say of the limit is what many levels come to, whatever meets at a vertex.
TEST(MeshTessellator, LimitIsThatOfManyLevels)
{
    struct Case
    {
        const char* name;
        Mesh mesh;
        Optional<double> angle;
        Array<Tuple2<uint32, uint32>> creases;
        double normals;  ///< how well they agree; towards corners that takes long, but the side is right
    };
    Mesh fin = makeTent();  // three faces at an edge
    fin.refPos().push_back({0.5, 0.5, 3});
    fin.refTrindexPos().push_back({0, 5, 11});
    Mesh hourglass = test::makeTetrahedron();
    hourglass.addMesh(hourglass);
    for (uint32 v = 4; v < 8; ++v) hourglass.refPos()[v] = -hourglass.pos()[v];
    for (uint32 f = 4; f < 8; ++f)
    {
        Index3& t = hourglass.refTrindexPos()[f];
        std::swap(t.b, t.c);
        for (uint32 c = 0; c < 3; ++c) t[c] = t[c] == 4 ? 0 : t[c];
    }
    const std::vector<Case> cases{
        {"tetrahedron", test::makeTetrahedron(), {}, {}, 0.999},
        {"cube", test::makeCube(), {}, {}, 0.999},
        {"bumpy icosahedron", makeIcosahedron(0.3), {}, {}, 0.999},
        {"creases by angle", makeIcosahedron(0.3), 0.8, {}, 0.3},
        {"a crease that ends twice", makeIcosahedron(0.2), {}, {{0, 1}, {1, 6}, {6, 11}}, 0.99},
        {"tent", makeTent(), {}, {}, 0.99},
        {"tent with corners", makeTent(), 1.0, {}, 0.3},
        {"fin", fin, {}, {}, 0.3},
        {"hourglass", hourglass, {}, {}, 0},
    };
    for (const Case& c : cases)
    {
        SCOPED_TRACE(c.name);
        SubdivisionSettings settings{0, c.angle, c.creases, true, true};
        const uint32 count = c.mesh.getPosSize();
        const Mesh limit = subdivided(c.mesh, settings);
        settings.levels = 1;
        const Mesh fromNextLevel = subdivided(c.mesh, settings);
        settings.toLimit = false;
        settings.levels = 7;
        const Mesh fine = subdivided(c.mesh, settings);
        EXPECT_LT(farthest(limit, fromNextLevel, count), 1e-14);
        EXPECT_LT(farthest(limit, fine, count), 3e-4);
        EXPECT_GT(leastAgreement(limit, fine), c.normals);
    }
}

TEST(MeshTessellator, MakesFourFacesOfEachAndKeepsTheShape)
{
    const Mesh ball = subdivided(makeIcosahedron(), {3, {}, {}, true, true});
    const MeshTopology topology = computeTopology(ball);
    EXPECT_EQ(ball.getFacesSize(), 20u * 64);
    EXPECT_TRUE(topology.isClosed() && topology.isManifold() && topology.isConsistentlyOriented());
    EXPECT_EQ(topology.eulerCharacteristic(), 2);
    for (uint32 v = 0; v < 12; ++v)
    {
        // by symmetry
        EXPECT_NEAR(length(ball.pos()[v]), length(ball.pos()[0]), 1e-7);
        EXPECT_GT(dot(convert<double>(ball.nor()[v]), ball.pos()[v]), (1 - 1e-6) * length(ball.pos()[v]));
    }

    const Mesh cube = test::makeCube();
    for (const Mesh& solid : {cube, makeAngle()})
    {
        const Mesh creased = subdivided(solid, {3, 0.5, {}, true, false});
        EXPECT_NEAR(signedVolume(creased), signedVolume(solid), 1e-12);
        EXPECT_NEAR(surfaceArea(creased), surfaceArea(solid), 1e-12) << "folds";
        const Mesh flat = subdivided(solid, {3, 0.5, {}, true, true});
        for (const Index3& t : flat.trindexNor())
            for (uint32 c = 0; c < 3; ++c)
            {
                const Vector3F n = flat.nor()[t[c]];
                EXPECT_NEAR(std::fabs(n.x) + std::fabs(n.y) + std::fabs(n.z), 1, 1e-6);
            }
    }
    EXPECT_LT(signedVolume(subdivided(cube, {3})), 0.6);

    // the border of a regular strip is a cubic B-spline: its limit is (1, 4, 1) / 6 of the controls
    Mesh strip;
    for (uint32 n = 0; n < 16; ++n) strip.refPos().push_back({n / 2 * 1.0, n % 2 * 1.0, (n / 2 % 3) * 1.0});
    for (uint32 n = 0; n + 3 < 16; n += 2)
    {
        strip.refTrindexPos().push_back({n, n + 2, n + 1});
        strip.refTrindexPos().push_back({n + 1, n + 2, n + 3});
    }
    const Mesh limit = subdivided(strip, {2});
    EXPECT_NEAR(limit.pos()[6].z, (2 + 4 * 0 + 1) / 6.0, 1e-14);
    EXPECT_NEAR(limit.pos()[8].z, (0 + 4 * 1 + 2) / 6.0, 1e-14);
}

/// Two halves of a tent that meet in a seam, where they name different vertices and texture coordinates.
TEST(MeshTessellator, SeamsStayClosedAndValuesFollow)
{
    Mesh whole = makeTent(), halves = makeTent();
    for (uint32 v : {1u, 5u, 0u}) halves.refPos().push_back(Vector3D(whole.pos()[v]));
    for (uint32 f = 4; f < 9; ++f)
    {
        Index3& t = halves.refTrindexPos()[f];
        for (uint32 c = 0; c < 3; ++c) t[c] = t[c] == 1 ? 11 : t[c] == 5 ? 12 : t[c] == 0 ? 13 : t[c];
    }
    auto& texture = halves.addArray<Vector2F>("uv", MeshArrayInf::PER_POSITION);
    auto& labels = halves.addArray<uint32>("label", MeshArrayInf::PER_FACE);
    for (const Vector3D& p : halves.pos())
        texture.push_back({static_cast<float>(p.x + 2 * p.y), texture.size() >= 11 ? 1.0f : 0.0f});
    for (uint32 f = 0; f < halves.getFacesSize(); ++f) labels.push_back(f);

    const SubdivisionSettings settings{3, {}, {}, true, true};
    const Mesh a = subdivided(whole, settings), b = subdivided(halves, settings);
    ASSERT_EQ(a.getFacesSize(), b.getFacesSize());
    for (uint32 f = 0; f < a.getFacesSize(); ++f)
        for (uint32 c = 0; c < 3; ++c)
        {
            EXPECT_LT(length(a.pos()[a.trindexPos()[f][c]] - b.pos()[b.trindexPos()[f][c]]), 1e-14);
            EXPECT_LT(length(a.nor()[a.trindexNor()[f][c]] - b.nor()[b.trindexNor()[f][c]]), 1e-6f);
        }
    for (const bool splits : {false, true})
    {
        Mesh made;
        made.copyAllFrom(halves, true);
        const MeshTessellator tessellator;
        const TessellationReport report =
            splits ? tessellator.splitEdges(made, 0.2) : tessellator.subdivide(made, settings);
        ASSERT_EQ(report.status, Status::Done);
        const auto& uv = *made.findArray<Vector2F>("uv");
        const auto& label = *made.findArray<uint32>("label");
        ASSERT_EQ(uv.size(), made.getPosSize());
        ASSERT_EQ(label.size(), made.getFacesSize());
        for (uint32 f = 0; f < made.getFacesSize(); ++f)
        {
            const Index3& t = made.trindexPos()[f];
            const bool isSecond = label[f] >= 4 && label[f] < 9;
            const float aside = uv[t.a].y + uv[t.b].y + uv[t.c].y;
            EXPECT_TRUE(isSecond || aside == 0);
            for (uint32 c = 0; c < 3 && splits; ++c)
                EXPECT_NEAR(uv[t[c]].x, made.pos()[t[c]].x + 2 * made.pos()[t[c]].y, 1e-5);
        }
        for (uint32 v = 11; v < 14; ++v) EXPECT_EQ(uv[v].y, 1);
    }
}

TEST(MeshTessellator, SplitsAllLongEdgesAndNoOther)
{
    for (const double longest : {3.0, 0.7, 0.05})
        for (Mesh mesh : {test::makeCube(), makeTent(), test::makeTerrain(9), test::makeTetrahedron()})
        {
            SCOPED_TRACE(longest);
            const Mesh before = mesh;
            const MeshTopology old = computeTopology(before);
            const TessellationReport report = MeshTessellator().splitEdges(mesh, longest);
            const MeshTopology topology = computeTopology(mesh);
            EXPECT_EQ(report.status, Status::Done);
            EXPECT_TRUE(hasValidIndices(mesh));
            EXPECT_EQ(topology.eulerCharacteristic(), old.eulerCharacteristic());
            EXPECT_EQ(topology.isClosed(), old.isClosed());
            EXPECT_EQ(topology.isManifold(), old.isManifold());
            EXPECT_EQ(topology.isConsistentlyOriented(), old.isConsistentlyOriented());
            EXPECT_NEAR(surfaceArea(mesh), surfaceArea(before), 1e-12 * surfaceArea(before));
            double longestLeft = 0;
            for (const Index3& t : mesh.trindexPos())
                for (uint32 c = 0; c < 3; ++c)
                    longestLeft =
                        std::max(longestLeft, length(mesh.pos()[t[c]] - mesh.pos()[t[(c + 1) % 3]]));
            EXPECT_LE(longestLeft, longest);
            EXPECT_GE(mesh.getFacesSize(), MeshTessellator::leastFaces(before, longest));
            EXPECT_LE(mesh.getFacesSize(), 4 * MeshTessellator::leastFaces(before, longest));
        }
    Mesh cube = test::makeCube();
    cube.createNormals(0.1);
    MeshTessellator().splitEdges(cube, 0.3);
    for (uint32 f = 0; f < cube.getFacesSize(); ++f)
        for (uint32 c = 0; c < 3; ++c)
        {
            const Vector3D p = cube.pos()[cube.trindexPos()[f][c]];
            const Vector3F n = cube.nor()[cube.trindexNor()[f][c]];
            EXPECT_EQ(dot(convert<double>(n), p), std::max({0.0f, n.x, n.y, n.z}));
        }
}

TEST(MeshTessellator, ThreadsChangeNothingAndStopsLeaveTheMesh)
{
    Mesh terrain = test::makeTerrain(40);
    terrain.createNormals(0.5);
    const auto run = [&](Mesh& mesh, bool splits, const MeshTessellator& tessellator)
    {
        return (splits ? tessellator.splitEdges(mesh, 0.06)
                       : tessellator.subdivide(mesh, {3, 0.6, {}, true, false}))
            .status;
    };
    const auto sum = [](const Mesh& mesh)
    { return test::checksum(mesh.pos(), mesh.trindexPos(), mesh.nor(), mesh.trindexNor()); };
    for (const bool splits : {false, true})
    {
        Mesh one = terrain;
        EXPECT_EQ(run(one, splits, MeshTessellator(1)), Status::Done);
        for (const uint32 threads : {2u, 3u, 8u})
        {
            Mesh many = terrain;
            EXPECT_EQ(run(many, splits, MeshTessellator(threads)), Status::Done);
            EXPECT_EQ(sum(many), sum(one));
        }
        Mesh stopped = terrain;
        const int polls = test::stopAtPolls(
            6,
            [&](CancelCallback callback)
            {
                stopped = terrain;
                return run(stopped, splits, MeshTessellator(2, callback)) == Status::Done;
            },
            [&] { EXPECT_EQ(sum(stopped), sum(terrain)); });
        EXPECT_GT(polls, 10);
    }
}

TEST(MeshTessellator, AnswersWhatCannotBe)
{
    Mesh bad = test::makeCube();
    bad.refTrindexPos()[3].b = 99;
    EXPECT_EQ(MeshTessellator().subdivide(bad).status, Status::BadIndices);
    EXPECT_EQ(MeshTessellator().splitEdges(bad, 1).status, Status::BadIndices);
    Mesh cube = test::makeCube(), none;
    EXPECT_EQ(MeshTessellator().subdivide(cube, {14}).status, Status::TooLarge);
    EXPECT_EQ(MeshTessellator().splitEdges(cube, 1e-5).status, Status::TooLarge);
    EXPECT_EQ(cube.getFacesSize(), 12u);
    EXPECT_EQ(MeshTessellator().subdivide(none).status, Status::Done);

    Mesh folded = test::makeRandomSoup(20, 200, 3);
    const uint32 before = folded.getFacesSize();
    const TessellationReport report = MeshTessellator().subdivide(folded, {1});
    EXPECT_GT(report.withoutEdges, 0u);
    EXPECT_EQ(folded.getFacesSize(), 4 * (before - report.withoutEdges));
    Mesh infinite = test::makeTerrain(4);
    infinite.refPos()[5].x = std::numeric_limits<double>::infinity();
    infinite.refPos()[6] = Vector3D{1e300, 1e300, -1e300};
    EXPECT_EQ(MeshTessellator().splitEdges(infinite, 0.1).status, Status::Done);
    EXPECT_EQ(MeshTessellator().subdivide(infinite, {1, 0.5}).status, Status::Done);
}
