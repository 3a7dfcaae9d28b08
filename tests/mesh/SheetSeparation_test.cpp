#include <tavrix/mesh/SheetSeparation.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <numeric>
#include <vector>

#include <tavrix/mesh/MeshRepair.h>
#include <tavrix/mesh/MeshTopology.h>

#include "mesh/TestMeshes.h"

using namespace tavrix;

/// Joins the vertices at one place and drops what collapses.
static Mesh joined(Mesh mesh)
{
    joinEqualPositions(mesh);
    return mesh;
}

static Mesh cubeAt(double x, double y, double z)
{
    Mesh mesh;
    mesh.createCubePrimitive({{x, y, z}, {x + 1, y + 1, z + 1}});
    return mesh;
}

/// The cubes of a 2 by 2 by 2 checkerboard whose bits are set: the faces between a cube and nothing,
/// outwards.
static Mesh voxels(uint32 bits)
{
    const auto isSolid = [&](int x, int y, int z)
    { return ((x | y | z) & ~1) == 0 && (bits >> (4 * x + 2 * y + z) & 1); };
    Array<Vector3D> positions;
    for (int n = 0; n < 27; ++n) positions.push_back({double(n / 9), double(n / 3 % 3), double(n % 3)});
    Array<Index3> faces;
    for (int n = 0; n < 8; ++n)
        for (int axis = 0; axis < 3; ++axis)
            for (int side = 0; side < 2; ++side)
            {
                int cell[] = {n / 4, n / 2 % 2, n % 2}, beside[] = {cell[0], cell[1], cell[2]};
                beside[axis] += 2 * side - 1;
                if (!isSolid(cell[0], cell[1], cell[2]) || isSolid(beside[0], beside[1], beside[2])) continue;
                const int strides[] = {9, 3, 1}, u = strides[(axis + 1) % 3], v = strides[(axis + 2) % 3];
                const auto a =
                    static_cast<uint32>(9 * cell[0] + 3 * cell[1] + cell[2] + side * strides[axis]);
                const auto b = a + static_cast<uint32>(side ? u : v), c = a + static_cast<uint32>(u + v),
                           d = a + static_cast<uint32>(side ? v : u);
                faces.push_back({a, b, c});
                faces.push_back({a, c, d});
            }
    return test::makeMesh(positions, faces);
}

/// Each face by the places of its corners, which may come in any order and often.
static std::map<std::vector<double>, int> facesByPlace(const Mesh& mesh)
{
    std::map<std::vector<double>, int> faces;
    for (const Index3& f : mesh.trindexPos())
    {
        std::vector<double> corners;
        for (uint32 c = 0; c < 3; ++c)
            for (uint32 axis = 0; axis < 3; ++axis) corners.push_back(mesh.pos()[f[c]][axis]);
        ++faces[corners];
    }
    return faces;
}

/// Takes the mesh apart, once as a whole and once by suspects, and checks that only vertices were added.
static SheetSeparation separate(Mesh& mesh, std::vector<uint32> suspects = {})
{
    const Mesh before = mesh;
    if (suspects.empty())
    {
        suspects.resize(mesh.getPosSize());
        std::iota(suspects.begin(), suspects.end(), 0u);
    }
    Mesh bySuspects = mesh;
    const SheetSeparation done = separateSheets(mesh);
    for (const uint32 threads : {1u, 3u})
    {
        Mesh again = before;
        const SheetSeparation same = separateSheets(again, suspects, threads);
        EXPECT_EQ(again.pos(), mesh.pos());
        EXPECT_EQ(again.trindexPos(), mesh.trindexPos());
        EXPECT_EQ(again.trindexNor(), mesh.trindexNor());
        EXPECT_EQ(same.edges, done.edges);
        EXPECT_EQ(same.vertices, done.vertices);
        EXPECT_EQ(same.faces, done.faces);
    }
    EXPECT_EQ(mesh.getPosSize(), before.getPosSize() + done.vertices);
    EXPECT_EQ(mesh.getFacesSize(), before.getFacesSize() - done.faces);
    EXPECT_TRUE(std::equal(before.pos().begin(), before.pos().end(), mesh.pos().begin()));
    EXPECT_TRUE(done.faces > 0 || facesByPlace(mesh) == facesByPlace(before));
    const MeshTopology was = computeTopology(before), is = computeTopology(mesh);
    EXPECT_EQ(is.boundaryEdgeCount > 0, was.boundaryEdgeCount > 0 || was.inconsistentEdgeCount > 0);
    EXPECT_EQ(is.nonManifoldEdgeCount, 0u);
    EXPECT_EQ(is.nonManifoldVertexCount, 0u);
    Mesh once = mesh;
    EXPECT_TRUE(separateSheets(once).isNone()) << "nothing is left to be done";
    return done;
}

TEST(SheetSeparation, CutsTouchingSolidsApart)
{
    struct Case
    {
        const char* what;
        Mesh mesh;
        uint32 edges, vertices, parts;
    };
    Mesh edgeToEdge = cubeAt(0, 0, 0), cornerToCorner = edgeToEdge, book = edgeToEdge;
    edgeToEdge.addMesh(cubeAt(1, 1, 0));
    cornerToCorner.addMesh(cubeAt(1, 1, 1));
    for (Mesh* mesh : {&edgeToEdge, &cornerToCorner}) *mesh = joined(std::move(*mesh));
    for (const Case& c : {Case{"an edge", edgeToEdge, 1, 2, 2}, Case{"a corner", cornerToCorner, 0, 1, 2},
                          Case{"nothing", cubeAt(0, 0, 0), 0, 0, 1}})
    {
        Mesh mesh = c.mesh;
        const SheetSeparation done = separate(mesh);
        EXPECT_EQ(done.edges, c.edges) << c.what;
        EXPECT_EQ(done.vertices, c.vertices) << c.what;
        EXPECT_EQ(done.faces, 0u) << c.what;
        EXPECT_EQ(countParts(mesh), c.parts) << c.what;
        EXPECT_EQ(computeTopology(mesh).selfContactCount, c.vertices) << c.what;
        EXPECT_DOUBLE_EQ(signedVolume(mesh), signedVolume(c.mesh));
    }
}

TEST(SheetSeparation, TakesAllVoxelPatternsApart)
{
    for (uint32 bits = 1; bits < 256; ++bits)
    {
        Mesh mesh = voxels(bits);
        SCOPED_TRACE(bits);
        std::vector<uint32> inside{13, 4, 10, 12, 14, 16, 22};  // the middle and those beside it
        separate(mesh, inside);
        const MeshTopology topology = computeTopology(mesh);
        EXPECT_TRUE(topology.isClosed() && topology.isConsistentlyOriented());
        // cubes hang together across squares alone
        uint32 solids = 0, reached = 0;
        for (uint32 n = 0; n < 8; ++n)
            if ((bits & ~reached) >> n & 1)
            {
                ++solids;
                uint32 part = 1u << n;
                for (uint32 round = 0; round < 8; ++round)
                    for (uint32 m = 0; m < 8; ++m)
                        for (const uint32 step : {1u, 2u, 4u})
                            if ((part >> m & 1) && (bits >> (m ^ step) & 1)) part |= 1u << (m ^ step);
                reached |= part;
            }
        EXPECT_EQ(countParts(mesh), solids);
    }
}

TEST(SheetSeparation, DropsPillowsAndCollapsedFaces)
{
    // a pillow, its corners in another turn, on the face 0 2 1 of a tetrahedron, and a face without area
    Mesh mesh = test::makeTetrahedron();
    for (const Index3& f : {Index3{0, 1, 2}, Index3{2, 1, 0}, Index3{3, 3, 1}})
    {
        mesh.refTrindexPos().push_back(f);
        mesh.refTrindexNor().push_back(f);
    }
    mesh.addArray<uint32>("Number", MeshArrayInf::PER_FACE) = {0, 1, 2, 3, 4, 5, 6};
    const SheetSeparation done = separate(mesh);
    EXPECT_EQ(done.faces, 3u);
    EXPECT_EQ(done.vertices, 0u);
    EXPECT_EQ(mesh.getFacesSize(), 4u);
    EXPECT_EQ(computeTopology(mesh).eulerCharacteristic(), 2);
    EXPECT_EQ(*mesh.findArray<uint32>("Number"), (Array<uint32>{1, 2, 3, 5}));

    Mesh alone = test::makeMesh({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {{0, 1, 2}, {2, 1, 0}});
    EXPECT_EQ(separateSheets(alone).faces, 2u) << "two faces back to back enclose nothing";
}

TEST(SheetSeparation, LeavesBordersAndMakesThemWhereNoPartnerIs)
{
    Mesh terrain = test::makeTerrain(5);
    EXPECT_TRUE(separate(terrain).isNone());

    // three faces around an edge, two of which run along it forwards
    Mesh book = test::makeMesh({{0, 0, 0}, {0, 0, 1}, {1, 0, 0}, {0, 1, 0}, {-1, 0, 0}},
                               {{0, 1, 2}, {0, 1, 3}, {1, 0, 4}});
    const SheetSeparation done = separate(book);
    EXPECT_EQ(done.edges, 1u);
    EXPECT_EQ(done.vertices, 2u);
    // solid goes from the face that runs back, around at 180 degrees, to the one at 0
    EXPECT_EQ(book.trindexPos(), (Array<Index3>{{0, 1, 2}, {5, 6, 3}, {1, 0, 4}}));
    EXPECT_EQ(computeTopology(book).boundaryEdgeCount, 7u);
}

TEST(SheetSeparation, CarriesTheArraysAlong)
{
    Mesh mesh = cubeAt(0, 0, 0);
    mesh.addMesh(cubeAt(1, 1, 1));
    const uint32 corner = 7, twin = 8;  // where they touch
    for (Index3& f : mesh.refTrindexPos())
        for (uint32 c = 0; c < 3; ++c)
            if (f[c] == twin) f[c] = corner;
    mesh.invalidateConnectivity();
    Array<Vector3F>& velocities = mesh.addArray<Vector3F>("Velocity");
    for (uint32 n = 0; n < mesh.getPosSize(); ++n) velocities.push_back({static_cast<float>(n), 0, 0});
    mesh.createSafe_arrNorSurface();

    Mesh creased, follows;
    creased.copyAllFrom(mesh, true);
    follows.copyAllFrom(mesh, true);
    follows.refTrindexNor() = follows.trindexPos();
    const Array<Index3> corners = creased.trindexNor();
    for (Mesh* m : {&creased, &follows})
    {
        ASSERT_EQ(separateSheets(*m).vertices, 1u);
        ASSERT_EQ(m->getPosSize(), 17u);
        EXPECT_EQ(m->pos()[16], (Vector3D{1, 1, 1}));
        EXPECT_EQ((*m->findArray<Vector3F>("Velocity"))[16], (Vector3F{7, 0, 0}));
        EXPECT_EQ(m->norSurface().size(), 17u);
    }
    EXPECT_EQ(creased.trindexNor(), corners) << "normals of their own stay";
    EXPECT_EQ(creased.nor().size(), 16u);
    EXPECT_EQ(follows.trindexNor(), follows.trindexPos());
    EXPECT_EQ(follows.nor().size(), 17u);
    EXPECT_EQ(follows.nor()[16], follows.nor()[7]);
}

/// Sheets that meet at two edges or more, and so cannot be told apart by one look around each edge.
TEST(SheetSeparation, NoTwoSheetsShareBothEndsOfAnEdge)
{
    for (uint32 seed = 0; seed < 300; ++seed)
    {
        // tetrahedra over few places, of which faces back to back go
        const uint32 places = 5 + seed % 5, solids = 2 + seed % 7;
        Mesh mesh = test::makeRandomSoup(places, solids, seed);
        const Array<Vector3D>& p = mesh.pos();
        Array<Index3> faces;
        for (const Index3& f : mesh.trindexPos())
        {
            const uint32 d = (f.a + f.b + f.c) % places;
            if (f.a == f.b || f.b == f.c || f.c == f.a || d == f.a || d == f.b || d == f.c) continue;
            const bool isOut = dot(cross(p[f.b] - p[f.a], p[f.c] - p[f.a]), p[d] - p[f.a]) < 0;
            const uint32 b = isOut ? f.b : f.c, c = isOut ? f.c : f.b;
            for (const Index3& side :
                 {Index3{f.a, b, c}, Index3{f.a, d, b}, Index3{b, d, c}, Index3{c, d, f.a}})
                faces.push_back(side);
        }
        mesh = test::makeMesh(mesh.pos(), faces);
        SCOPED_TRACE(seed);
        separate(mesh);
        EXPECT_EQ(computeTopology(mesh).boundaryEdgeCount, 0u);
        EXPECT_TRUE(computeTopology(mesh).isConsistentlyOriented());
    }
}
