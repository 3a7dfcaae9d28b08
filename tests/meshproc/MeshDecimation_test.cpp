#include <tavrix/meshproc/MeshDecimation.h>

#include <cmath>
#include <set>

#include <gtest/gtest.h>

#include <tavrix/mesh/MeshRepair.h>
#include <tavrix/mesh/MeshTopology.h>
#include <tavrix/meshproc/Quadric.h>
#include <tavrix/meshproc/VertexWelding.h>
#include <tavrix/spatial/MeshCollider.h>

#include "mesh/TestMeshes.h"
#include "Polls.h"
#include "spatial/TestSolids.h"

using namespace tavrix;

namespace
{

using Status = DecimationStatus;

/// The square from (0, 0) to (1, 1) at z = 0 in n by n pairs of faces that look upwards.
Mesh makeSheet(uint32 n)
{
    Mesh mesh;
    for (uint32 i = 0; i <= n; ++i)
        for (uint32 k = 0; k <= n; ++k)
        {
            mesh.refPos().push_back({static_cast<double>(i) / n, static_cast<double>(k) / n, 0});
            if (i == n || k == n) continue;
            const uint32 a = i * (n + 1) + k, b = a + n + 1;
            mesh.refTrindexPos().push_back({a, b, b + 1});
            mesh.refTrindexPos().push_back({a, b + 1, a + 1});
        }
    return mesh;
}

/// The unit cube, of which each face is such a sheet.
Mesh makeFineCube(uint32 n)
{
    Mesh cube;
    for (uint32 side = 0; side < 6; ++side)
    {
        Mesh sheet = makeSheet(n);
        for (Vector3D& p : sheet.refPos())
        {
            const Vector3D q = side % 2 == 0 ? Vector3D{p.x, p.y, 1} : Vector3D{p.y, p.x, 0};
            p = side < 2 ? q : side < 4 ? Vector3D{q.z, q.x, q.y} : Vector3D{q.y, q.z, q.x};
        }
        cube.addMesh(sheet);
    }
    weldVertices(cube.refPos(), cube.refTrindexPos(), std::array{0.0});
    return cube;
}

Mesh makeBall(const Vector3D& center, double radius, uint32 count)
{
    Mesh ball = test::makeSphere(center, radius, count);
    weldVertices(ball.refPos(), ball.refTrindexPos(), std::array{1e-9});
    return ball;
}

DecimationReport decimate(Mesh& mesh, const DecimationSettings& settings)
{
    const DecimationReport report = decimateMesh(mesh, settings);
    EXPECT_EQ(report.status, Status::Done);
    EXPECT_EQ(report.faces, mesh.getFacesSize());
    EXPECT_TRUE(hasValidIndices(mesh));
    return report;
}

/// How far from the collider's surface the vertices of a mesh and points on its faces lie at most.
double farthest(const Mesh& mesh, const MeshCollider& collider)
{
    constexpr int steps = 6;
    double most = 0;
    for (const Index3& t : mesh.trindexPos())
        for (int i = 0; i <= steps; ++i)
            for (int k = 0; k <= steps - i; ++k)
            {
                const Array<Vector3D>& p = mesh.pos();
                const Vector3D point = (p[t.a] * i + p[t.b] * k + p[t.c] * (steps - i - k)) / steps;
                most = std::max(most, collider.nearestPoint(point)->distance);
            }
    return most;
}

double distanceBetween(const Mesh& a, const Mesh& b)
{
    MeshCollider ofA, ofB;
    ofA.create(a);
    ofB.create(b);
    return std::max(farthest(a, ofB), farthest(b, ofA));
}

/// Edges of one or of more than two faces, and such that faces disagree about.
std::array<uint32, 3> faultsOf(const Mesh& mesh)
{
    const MeshTopology t = computeTopology(mesh);
    return {t.boundaryEdgeCount, t.nonManifoldEdgeCount, t.inconsistentEdgeCount};
}

constexpr std::array<uint32, 3> noFaults{0, 0, 0};

}  // namespace

TEST(Quadric, IsLowestWhereItsPlanesAre)
{
    const Vector3D start{5, 6, 7};
    const auto plane = [](const Vector3D& n, const Vector3D& p, double weight)
    { return Quadric::ofPlane(unitOrZero(n), p, weight); };
    const Quadric one = plane({1, 2, 2}, {0, 0, 3}, 4);
    EXPECT_NEAR(one.at({0, 0, 0}), 4 * 4, 1e-12);
    EXPECT_NEAR(one.weight(), 4, 1e-15);
    const Vector3D foot = start - Vector3D{1, 2, 2} * ((5 + 12 + 14 - 6) / 9.0);
    const Quadric edge = one + plane({0, 0, 1}, {0, 0, 3}, 1e-3);
    const Quadric corner = edge + plane({1, 0, 0}, {8, 0, 0}, 0.1);
    struct Case
    {
        const char* name;
        Quadric quadric;
        Vector3D lowest;
    };
    for (const Case& c :
         {Case{"no plane", Quadric::zero(), start}, Case{"a plane", one, foot},
          Case{"two", edge, {5 - 17 / 5.0, 6 - 34 / 5.0, 3}}, Case{"three", corner, {8, -4, 3}}})
    {
        SCOPED_TRACE(c.name);
        EXPECT_LT(length(c.quadric.lowestPoint(start) - c.lowest), 1e-5);
        const Quadric::Lowest lowest = c.quadric.lowestValue(start);
        EXPECT_NEAR(lowest.value, 0, 1e-5);
        EXPECT_NEAR(std::sqrt(lowest.square), length(c.lowest - start), 0.02);
    }
}

TEST(MeshDecimation, FlatFacesLoseNothing)
{
    for (const DecimationSettings& settings :
         {DecimationSettings{.faces = 12}, DecimationSettings{.ratio = 0.01},
          DecimationSettings{.error = 0.0}})
    {
        Mesh cube = makeFineCube(10);
        ASSERT_EQ(cube.getFacesSize(), 1200u);
        cube.createNormals(1);
        decimate(cube, settings);
        EXPECT_EQ(cube.getFacesSize(), 12u);
        EXPECT_EQ(cube.getPosSize(), 8u);
        EXPECT_EQ(faultsOf(cube), noFaults);
        EXPECT_DOUBLE_EQ(signedVolume(cube), 1);
        EXPECT_DOUBLE_EQ(surfaceArea(cube), 6);
        EXPECT_EQ(cube.nor().size(), 24u) << "edges stay creases";
        for (uint32 f = 0; f < 12; ++f)
        {
            const Array<Vector3D>& p = cube.pos();
            const Index3 &t = cube.trindexPos()[f], &n = cube.trindexNor()[f];
            const auto normal = convert<float>(cross(p[t.b] - p[t.a], p[t.c] - p[t.a]));
            for (const uint32 corner : {n.a, n.b, n.c}) EXPECT_GT(dot(normal, cube.nor()[corner]), 0.999f);
        }
    }
    Mesh sheet = makeSheet(30);
    decimate(sheet, {.faces = 2});
    EXPECT_EQ(sheet.getFacesSize(), 2u);
    EXPECT_DOUBLE_EQ(surfaceArea(sheet), 1) << "its border stays";
}

TEST(MeshDecimation, ShapesStayWhatTheyAre)
{
    struct Case
    {
        const char* name;
        Mesh mesh;
        uint32 faces;   ///< asked for
        double offset;  ///< from the given mesh
    };
    Mesh sprayed = makeBall({0, 0, 0}, 1, 40);
    for (int n = 0; n < 5; ++n) sprayed.addMesh(makeBall({2.0 + n, 0.1, 0}, 0.02, 9));
    for (const Case& c :
         {Case{"ball", makeBall({3, 4, 5}, 1, 60), 600, 0.03},
          Case{"torus", test::makeTorus(1, 0.4, 60), 700, 0.04}, Case{"spray", sprayed, 400, 0.06},
          Case{"terrain", test::makeTerrain(40), 2000, 0.6}})
    {
        SCOPED_TRACE(c.name);
        const MeshTopology before = computeTopology(c.mesh);
        Mesh first;
        for (const uint32 threads : {1u, 2u, 5u})
        {
            Mesh mesh = c.mesh;
            const DecimationReport report = decimate(mesh, {.faces = c.faces, .threadCount = threads});
            EXPECT_LE(report.faces, c.faces);
            EXPECT_GE(report.faces + 2, c.faces);
            if (threads == 1) first = mesh;
            EXPECT_EQ(mesh.pos(), first.pos());
            EXPECT_EQ(mesh.trindexPos(), first.trindexPos());
        }
        const MeshTopology after = computeTopology(first);
        EXPECT_EQ(after.eulerCharacteristic(), before.eulerCharacteristic());
        EXPECT_EQ(countParts(first), countParts(c.mesh));
        EXPECT_EQ(after.nonManifoldEdgeCount, 0u);
        EXPECT_TRUE(after.isConsistentlyOriented());
        EXPECT_EQ(after.isClosed(), before.isClosed());
        EXPECT_LT(distanceBetween(first, c.mesh), c.offset);
        if (after.isClosed()) { EXPECT_NEAR(signedVolume(first) / signedVolume(c.mesh), 1, 0.03); }
        // faces look where those of the given mesh do
        MeshCollider collider;
        collider.create(c.mesh);
        uint32 turned = 0;
        for (const Index3& t : first.trindexPos())
        {
            const Array<Vector3D>& p = first.pos();
            const Index3 near =
                c.mesh.trindexPos()[collider.nearestPoint((p[t.a] + p[t.b] + p[t.c]) / 3)->face];
            const Array<Vector3D>& q = c.mesh.pos();
            turned += dot(cross(p[t.b] - p[t.a], p[t.c] - p[t.a]),
                          cross(q[near.b] - q[near.a], q[near.c] - q[near.a])) <= 0;
        }
        EXPECT_LE(turned, after.isClosed() ? 0u : first.getFacesSize() / 100);
    }
    decimate(sprayed, {.faces = 0});
    EXPECT_EQ(sprayed.getFacesSize(), 24u) << "drops end as tetrahedra";
    EXPECT_EQ(faultsOf(sprayed), noFaults);
    EXPECT_GT(signedVolume(sprayed), 0);
}

TEST(MeshDecimation, ErrorsAreBounds)
{
    Mesh ridge = makeSheet(40);  // flat, but for one roof of half a face's width
    for (Vector3D& p : ridge.refPos()) p.z = p.x == 0.5 ? 0.01 : 0;
    struct Case
    {
        const char* name;
        Mesh mesh;
        double error;
        uint32 faces;  ///< that are left at most
    };
    for (const Case& c :
         {Case{"ball", makeBall({0, 0, 0}, 1, 60), 0.03, 1200},
          Case{"torus", test::makeTorus(1, 0.4, 60), 0.02, 2500},
          Case{"terrain", test::makeTerrain(40), 0.4, 2700}, Case{"ridge", ridge, 0.0099, 100},
          Case{"worn ridge", ridge, 0.02, 40}, Case{"far cube", test::makeCube(0, 1, {1e6, 0, 0}), 0.0, 12}})
    {
        SCOPED_TRACE(c.name);
        Mesh mesh = c.mesh;
        const DecimationReport report = decimate(mesh, {.error = c.error});
        EXPECT_LE(mesh.getFacesSize(), c.faces);
        EXPECT_LE(report.error, c.error);
        EXPECT_LE(distanceBetween(mesh, c.mesh), report.error + 1e-9);
        Mesh stopped = c.mesh;
        decimate(stopped, {.faces = c.faces, .error = c.error});
        EXPECT_GE(stopped.getFacesSize() + 2, std::min(c.faces, c.mesh.getFacesSize()));
    }
}

TEST(MeshDecimation, ArraysFollow)
{
    Mesh sheet = makeSheet(24);
    for (Vector3D& p : sheet.refPos()) p.z = 0.2 * std::sin(7 * p.x) * std::cos(5 * p.y);
    sheet.recalculateNormals();
    sheet.calculateVerticesSurfaceNormal();
    sheet.createSafe_PosConnectivityToPos();
    auto& velocity = sheet.addArray<Vector3F>("Velocity");
    auto& twice = sheet.addArray<double>("Twice");
    auto& left = sheet.addArray<uint32>("Left");
    auto& ofFace = sheet.addArray<int32>("Number", MeshArrayInf::PER_FACE);
    auto& other = sheet.addArray<float>("Other", 0);
    other.assign(3, 1.5f);
    for (const Vector3D& p : sheet.pos())
    {
        velocity.push_back(convert<float>(Vector3D{p.x, 3 - p.y, p.x + p.y}));
        for (const double value : {p.x, p.y}) twice.push_back(value);
        left.push_back(p.x < 0.5);
    }
    for (uint32 f = 0; f < sheet.getFacesSize(); ++f) ofFace.push_back(static_cast<int32>(f));
    const Mesh before = sheet;

    decimate(sheet, {.ratio = 0.25});
    ASSERT_EQ(velocity.size(), sheet.getPosSize());
    ASSERT_EQ(twice.size(), 2 * sheet.getPosSize());
    ASSERT_EQ(left.size(), sheet.getPosSize());
    for (uint32 n = 0; n < sheet.getPosSize(); ++n)
    {
        const Vector3D& p = sheet.pos()[n];
        EXPECT_LT(length(velocity[n] - convert<float>(Vector3D{p.x, 3 - p.y, p.x + p.y})), 0.05f);
        EXPECT_LT(std::fabs(twice[2 * n] - p.x) + std::fabs(twice[2 * n + 1] - p.y), 0.05);
        if (std::fabs(p.x - 0.5) > 0.1) { EXPECT_EQ(left[n], p.x < 0.5 ? 1u : 0u); }
    }
    ASSERT_EQ(ofFace.size(), sheet.getFacesSize());
    EXPECT_TRUE(std::is_sorted(ofFace.begin(), ofFace.end())) << "faces keep their order";
    EXPECT_EQ(other, (Array<float>{1.5f, 1.5f, 1.5f}));
    EXPECT_TRUE(sheet.posPosInfo().empty());
    ASSERT_EQ(sheet.faceNor().size(), sheet.getFacesSize());
    ASSERT_EQ(sheet.norSurface().size(), sheet.getPosSize());
    for (uint32 f = 0; f < sheet.getFacesSize(); ++f)
        for (uint32 c = 0; c < 3; ++c)
        {
            const Vector3F& normal = sheet.nor()[sheet.trindexNor()[f][c]];
            EXPECT_NEAR(length(normal), 1, 1e-5);
            EXPECT_GT(dot(normal, sheet.norSurface()[sheet.trindexPos()[f][c]]), 0.85f);
        }

    Mesh same = before;
    for (const DecimationSettings& nothing : {DecimationSettings{}, {.ratio = NAN}, {.faces = 1u << 30}})
    {
        decimate(same, nothing);
        EXPECT_EQ(same.trindexPos(), before.trindexPos());
        EXPECT_EQ(same.trindexNor(), before.trindexNor());
    }
}

TEST(MeshDecimation, SeamsStay)
{
    // a tube whose texture begins and ends along a line of vertices that are there twice
    constexpr uint32 n = 32;
    Mesh tube;
    auto& uv = tube.addArray<Vector3F>("UV_MAP_0");
    for (uint32 i = 0; i <= n; ++i)
        for (uint32 k = 0; k <= n; ++k)
        {
            const double angle = 2 * std::acos(-1.0) * (i % n) / n;
            tube.refPos().push_back({std::cos(angle), std::sin(angle), 4.0 * k / n});
            uv.push_back({static_cast<float>(i) / n, static_cast<float>(k) / n, 0});
            if (i == n || k == n) continue;
            const uint32 a = i * (n + 1) + k, b = a + n + 1;
            tube.refTrindexPos().push_back({a, b, b + 1});
            tube.refTrindexPos().push_back({a, b + 1, a + 1});
        }
    const Mesh before = tube;
    decimate(tube, {.faces = 200});
    EXPECT_EQ(tube.getFacesSize(), 200u);
    EXPECT_LT(distanceBetween(tube, before), 0.05);
    uint32 onSeam = 0;
    for (uint32 v = 0; v < tube.getPosSize(); ++v)
    {
        const Vector3D& p = tube.pos()[v];
        EXPECT_NEAR(uv[v].y, p.z / 4, 0.02);
        if (uv[v].x == 0 || uv[v].x == 1)
        {
            ++onSeam;
            EXPECT_LT(length(Vector3D{p.x, p.y, 0} - Vector3D{1, 0, 0}), 1e-6);
        }
        else
            EXPECT_NEAR(std::remainder(std::atan2(p.y, p.x) / (2 * std::acos(-1.0)) - uv[v].x, 1), 0, 0.02);
    }
    EXPECT_GE(onSeam, 4u);
    const uint32 joined = joinEqualPositions(tube);
    EXPECT_EQ(2 * joined, onSeam) << "the seam's sides have the same places";
    const MeshTopology topology = computeTopology(tube);
    EXPECT_EQ(topology.eulerCharacteristic(), 0);
    EXPECT_EQ(topology.nonManifoldEdgeCount, 0u);

    // without values that differ there is no seam
    Mesh soup;
    const Mesh ball = makeBall({0, 0, 0}, 1, 24);
    for (const Index3& t : ball.trindexPos())
    {
        const uint32 at = soup.getPosSize();
        for (const uint32 corner : {t.a, t.b, t.c}) soup.refPos().push_back(ball.pos()[corner]);
        soup.refTrindexPos().push_back({at, at + 1, at + 2});
    }
    decimate(soup, {.faces = 100});
    EXPECT_EQ(soup.getFacesSize(), 100u);
    EXPECT_EQ(soup.getPosSize(), 52u);
    EXPECT_EQ(faultsOf(soup), noFaults);

    // sheets that touch are not joined: two tetrahedra with a common edge
    Mesh pair = test::makeTetrahedron();
    Mesh turned = test::makeTetrahedron();
    for (Vector3D& p : turned.refPos()) p = {-p.x, -p.y, p.z};
    pair.addMesh(turned);
    decimate(pair, {.faces = 0});
    EXPECT_EQ(pair.getFacesSize(), 8u);
    EXPECT_EQ(faultsOf(pair), noFaults);
}

TEST(MeshDecimation, BadMeshes)
{
    const double inf = std::numeric_limits<double>::infinity();
    for (uint32 seed = 0; seed < 30; ++seed)
    {
        Mesh soup = test::makeRandomSoup(20 + 10 * seed, 200, seed);
        if (seed % 3 == 0) soup.refPos()[3] = {NAN, 1, 2};
        if (seed % 5 == 0) soup.refPos()[5] = {inf, -inf, 2};
        if (seed % 2 == 0) soup.refTrindexPos()[7] = soup.refTrindexPos()[6];
        soup.refTrindexNor() = soup.trindexPos();
        const uint32 faces = soup.getFacesSize();
        const DecimationReport report = decimate(soup, {.faces = 50, .error = seed % 2 ? 0.1 : inf});
        EXPECT_LE(report.faces + report.withoutEdges, faces);
        const Mesh once = soup;
    }
    Mesh empty;
    decimate(empty, {.faces = 0});
    Mesh broken = test::makeTetrahedron();
    broken.refTrindexPos()[1].b = 4;
    EXPECT_EQ(decimateMesh(broken, {.faces = 0}).status, Status::BadIndices);
    EXPECT_EQ(broken.getFacesSize(), 4u);

    Mesh unused = makeSheet(3);
    unused.refPos().push_back({9, 9, 9});
    unused.refTrindexPos().push_back({0, 0, 1});
    const DecimationReport report = decimate(unused, {.faces = 17});
    EXPECT_EQ(report.withoutEdges, 1u);
    EXPECT_EQ(boxAround(unused.pos()).max, (Vector3D{1, 1, 0}));

    // a fan that is too large to look at, and one line of four sheets
    Mesh cone;
    constexpr uint32 rim = 3000;
    for (uint32 n = 0; n < rim; ++n)
    {
        const double angle = 2 * std::acos(-1.0) * n / rim;
        cone.refPos().push_back({std::cos(angle), std::sin(angle), 0});
        cone.refTrindexPos().push_back({n, (n + 1) % rim, rim});
    }
    cone.refPos().push_back({0, 0, 1});
    decimate(cone, {.faces = 50});
    EXPECT_LE(cone.getFacesSize(), 51u);
    Mesh book;
    for (const Vector3D& to : {Vector3D{1, 0, 0}, {0, 1, 0}, {-1, 0, 0}, {0, -1, 0}})
    {
        Mesh page = makeSheet(8);
        for (Vector3D& p : page.refPos()) p = to * p.x + Vector3D{0, 0, p.y};
        book.addMesh(page);
    }
    weldVertices(book.refPos(), book.refTrindexPos(), std::array{0.0});
    decimate(book, {.faces = 0});
    EXPECT_EQ(computeTopology(book).nonManifoldEdgeCount, 8u) << "where sheets meet nothing moves";
}

TEST(MeshDecimation, AnyUnitOfLength)
{
    const Mesh torus = test::makeTorus(1, 0.4, 30);
    Mesh usual = torus;
    decimate(usual, {.faces = 300});
    for (const int exponent : {-900, -100, -3, 100, 1020})
    {
        Mesh scaled = torus;
        for (Vector3D& p : scaled.refPos()) p = p * std::ldexp(1.0, exponent);
        decimate(scaled, {.faces = 300});
        EXPECT_EQ(scaled.trindexPos(), usual.trindexPos());
        for (uint32 n = 0; n < usual.getPosSize(); ++n)
            EXPECT_EQ(scaled.pos()[n] * std::ldexp(1.0, -exponent), usual.pos()[n]);
        scaled = torus;
        for (Vector3D& p : scaled.refPos()) p = p * std::ldexp(1.0, exponent);
        decimate(scaled, {.error = std::ldexp(0.05, exponent)});
        EXPECT_LT(scaled.getFacesSize(), 1000u);
    }
}

TEST(MeshDecimation, EveryPollCanStop)
{
    Mesh given = makeSheet(60);
    for (Vector3D& p : given.refPos()) p.z = std::sin(9 * p.x * p.y);
    given.recalculateNormals();
    given.addArray<Vector3F>("Velocity").assign(given.getPosSize(), {1, 2, 3});
    const uint32 arrays = TX_ArrayServer::instance().arrayCount();
    Mesh mesh;
    const int polls = test::stopAtPolls(
        12,
        [&](CancelCallback callback)
        {
            mesh.copyAllFrom(given, true);
            return decimateMesh(mesh, {.ratio = 0.3, .threadCount = 2}, callback).status == Status::Done;
        },
        [&]
        {
            EXPECT_EQ(mesh.pos(), given.pos());
            EXPECT_EQ(mesh.trindexPos(), given.trindexPos());
            EXPECT_EQ(mesh.findArray<Vector3F>("Velocity")->size(), given.getPosSize());
        });
    EXPECT_GT(polls, 8);
    mesh.destroy();
    EXPECT_LE(TX_ArrayServer::instance().arrayCount(), arrays);
}
