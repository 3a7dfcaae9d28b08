#include <tavrix/meshproc/MeshSlicing.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <filesystem>
#include <functional>
#include <numeric>
#include <random>
#include <vector>

#include <gtest/gtest.h>

#include <mesh/TestMeshes.h>
#include <tavrix/foundation/ElementaryFunctions.h>
#include <tavrix/mesh/MeshRepair.h>
#include <tavrix/mesh/MeshTopology.h>
#include <tavrix/meshio/Mesh_OBJ_FileParser.h>
#include <tavrix/meshio/MeshFileParser.h>
#include <tavrix/meshio/MeshSTLFileParser.h>
#include <tavrix/meshproc/SphereTriangulated.h>
#include <tavrix/meshproc/VertexWelding.h>

#include "Polls.h"
#include "TestFolder.h"

using namespace tavrix;

namespace
{

const SliceFrame alongZ = SliceFrame::alongAxis(2);

Mesh makeTorus(
    uint32 n, const std::function<double(double)>& round = [](double x) { return x; })
{
    Array<Vector3D> positions;
    Array<Index3> faces;
    for (uint32 i = 0; i < n; ++i)
        for (uint32 k = 0; k < n; ++k)
        {
            const double u = 2 * piValue * i / n, v = 2 * piValue * k / n, r = 2 + std::cos(v);
            positions.push_back({round(r * std::cos(u)), round(r * std::sin(u)), round(std::sin(v))});
            const uint32 j = (i + 1) % n, l = (k + 1) % n;
            faces.push_back({i * n + k, j * n + k, j * n + l});
            faces.push_back({i * n + k, j * n + l, i * n + l});
        }
    return test::makeMesh(positions, faces);
}

/// Unit cubes of a lattice that hang together: the outer sides of all that are filled. Where cubes touch at
/// edges, four faces share one.
Mesh makeCubes(const std::function<bool(int32, int32, int32)>& isFilled, int32 size)
{
    Array<Vector3D> positions;
    Array<Index3> faces;
    for (int32 x = -1; x <= size; ++x)
        for (int32 y = -1; y <= size; ++y)
            for (int32 z = -1; z <= size; ++z)
                for (uint32 axis = 0; axis < 3; ++axis)
                {
                    const bool here = isFilled(x, y, z);
                    if (here == isFilled(x + (axis == 0), y + (axis == 1), z + (axis == 2))) continue;
                    Vector3D corner{double(x), double(y), double(z)}, along{0, 0, 0}, across{0, 0, 0};
                    corner[axis] += 1;
                    (here ? along : across)[(axis + 1) % 3] = 1;
                    (here ? across : along)[(axis + 2) % 3] = 1;
                    const uint32 a = positions.size();
                    for (const Vector3D& p :
                         {corner, corner + along, corner + along + across, corner + across})
                        positions.push_back(p);
                    faces.push_back({a, a + 1, a + 2});
                    faces.push_back({a, a + 2, a + 3});
                }
    Mesh mesh = test::makeMesh(positions, faces);
    joinEqualPositions(mesh);
    return mesh;
}

/// What every slice of a closed mesh has to be like: loops that turn as their depth says.
void expectClosed(const MeshSlices& slices)
{
    for (const MeshSlice& slice : slices.slices)
    {
        ASSERT_TRUE(slice.openChains.empty()) << slice.height;
        for (uint32 n = 0; n < slice.polygons.size(); ++n)
        {
            ASSERT_GE(slice.polygons[n].size(), 3u);
            ASSERT_EQ(slice.polygons[n].isCounterClockwise(), !slice.polygons.isHole(n)) << slice.height;
        }
    }
}

std::vector<double> areasOf(const MeshSlices& slices)
{
    std::vector<double> areas;
    for (const MeshSlice& slice : slices.slices) areas.push_back(slice.polygons.area());
    return areas;
}

std::vector<double> middles(double low, double high, uint32 count)
{
    std::vector<double> heights;
    for (uint32 n = 0; n < count; ++n) heights.push_back(low + (high - low) * (n + 0.5) / count);
    return heights;
}

double layeredVolume(const Mesh& mesh, uint32 axis, uint32 count)
{
    const SliceFrame frame = SliceFrame::alongAxis(axis);
    const auto [low, high] = heightsOf(mesh, frame);
    const MeshSlices slices = sliceMesh(mesh, frame, middles(low, high, count));
    expectClosed(slices);
    const std::vector<double> areas = areasOf(slices);
    return std::accumulate(areas.begin(), areas.end(), 0.0) * (high - low) / count;
}

/// The positions' heights, and those between neighbours.
std::vector<double> heightsOfVertices(const Mesh& mesh, uint32 axis)
{
    std::vector<double> heights;
    for (const Vector3D& p : mesh.pos()) heights.push_back(p[axis]);
    std::sort(heights.begin(), heights.end());
    heights.erase(std::unique(heights.begin(), heights.end()), heights.end());
    const std::size_t count = heights.size();
    for (std::size_t n = 1; n < count; ++n) heights.push_back((heights[n - 1] + heights[n]) / 2);
    return heights;
}

}  // namespace

// A box along each axis and a slanted frame, with planes in its faces: bottoms are empty, tops whole.
TEST(MeshSlicing, CutsBoxes)
{
    Mesh mesh;
    mesh.createCubePrimitive({{1, 2, 4}, {2, 5, 9}});
    for (uint32 axis = 0; axis < 3; ++axis)
    {
        const Vector3D low{1, 2, 4}, high{2, 5, 9}, size = high - low;
        const uint32 x = (axis + 1) % 3, y = (axis + 2) % 3;
        const std::vector<double> heights{high[axis], low[axis], low[axis] + 0.25, high[axis] + 1,
                                          std::nan("")};
        const MeshSlices slices = sliceMesh(mesh, SliceFrame::alongAxis(axis), heights);
        const double area = size[x] * size[y];
        EXPECT_EQ(areasOf(slices), (std::vector<double>{area, 0, area, 0, 0}));
        EXPECT_EQ(slices.slices[2].polygons.box(), (Box2D{{low[x], low[y]}, {high[x], high[y]}}));
        EXPECT_EQ(slices.slices[0].polygons.size(), 1u);
    }
    // across the corners of a cube: a triangle below, the hexagon in the middle
    Mesh cube = test::makeCube();
    const SliceFrame slanted = SliceFrame::along({2, 2, 2});
    const double third = 1 / std::sqrt(3.0), middle = 1.5 * third;
    const std::vector<double> areas = areasOf(sliceMesh(cube, slanted, std::array{third, middle}));
    EXPECT_NEAR(areas[0], std::sqrt(3.0) / 2, 1e-12);
    EXPECT_NEAR(areas[1], 0.75 * std::sqrt(3.0), 1e-12);
    EXPECT_NEAR(dot(cross(slanted.x, slanted.y), slanted.up), 1, 1e-15);
}

// Sums over layers come to the mesh's own volume as the square of their thickness; areas to those of discs
// and rings.
TEST(MeshSlicing, AreasSumUpToVolumes)
{
    const SphereTriangulated<double> sphere(500, 1.0);
    const Mesh ball = test::makeMesh(sphere.getArrPos(), sphere.getArrTrindexPos());
    for (const Mesh& mesh : {ball, makeTorus(48)})
        for (const uint32 axis : {0u, 2u})
        {
            const double volume = signedVolume(mesh);
            const double coarse = std::abs(layeredVolume(mesh, axis, 40) / volume - 1),
                         fine = std::abs(layeredVolume(mesh, axis, 640) / volume - 1);
            EXPECT_LT(coarse, 2e-3);
            EXPECT_LT(fine, 1e-5);
        }
    const std::vector<double> heights{-0.5, 0, 0.7};
    const MeshSlices discs = sliceMesh(ball, alongZ, heights),
                     rings = sliceMesh(makeTorus(400), alongZ, heights);
    for (std::size_t n = 0; n < heights.size(); ++n)
    {
        const double square = 1 - heights[n] * heights[n];
        EXPECT_NEAR(discs.slices[n].polygons.area(), piValue * square, 0.03 * piValue);
        EXPECT_NEAR(rings.slices[n].polygons.area(), 8 * piValue * std::sqrt(square), 3e-3);
        ASSERT_EQ(rings.slices[n].polygons.size(), 2u);
    }
}

/// How many groups there are of marked cells of a square that share sides.
uint32 countGroups(std::vector<std::vector<bool>> cells)
{
    uint32 groups = 0;
    const auto clear = [&](const auto& self, std::size_t i, std::size_t k) -> bool
    {
        if (i >= cells.size() || k >= cells.size() || !cells[i][k]) return false;
        cells[i][k] = false;
        for (const std::size_t step : {std::size_t{1}, ~std::size_t{0}})
        {
            self(self, i + step, k);
            self(self, i, k + step);
        }
        return true;
    };
    for (std::size_t i = 0; i < cells.size(); ++i)
        for (std::size_t k = 0; k < cells.size(); ++k) groups += clear(clear, i, k) ? 1 : 0;
    return groups;
}

// Planes through vertices, along edges and faces: coordinates are whole numbers, so that many lie on planes,
// sheets touch and edges have four faces; each answer is a count of cells, or of groups of them, which do not
// hang together where they touch at edges.
TEST(MeshSlicing, ClosesCutsOfLatticeCubesAndCountsTheirCells)
{
    constexpr int32 size = 6;
    for (uint32 seed = 1; seed <= 30; ++seed)
    {
        const auto isFilled = [seed](int32 x, int32 y, int32 z)
        {
            const bool isWithin = std::min({x, y, z}) >= 0 && std::max({x, y, z}) < size;
            const uint32 mixed =
                uint32(x * 73856093) ^ uint32(y * 19349663) ^ uint32(z * 83492791) ^ seed * 2654435761U;
            return isWithin && (mixed * 2246822519U >> 17) % 100 < 30 + seed;
        };
        const Mesh mesh = makeCubes(isFilled, size);
        for (uint32 axis = 0; axis < 3; ++axis)
        {
            std::vector<double> heights;
            for (int32 n = 0; n <= size; ++n) heights.insert(heights.end(), {double(n), n + 0.5});
            const MeshSlices slices = sliceMesh(mesh, SliceFrame::alongAxis(axis), heights);
            expectClosed(slices);
            for (const MeshSlice& slice : slices.slices)
            {
                uint32 cells = 0, outers = 0;
                std::vector<std::vector<bool>> marked(size, std::vector<bool>(size));
                const auto level = static_cast<int32>(std::ceil(slice.height)) - 1;
                for (int32 i = 0; i < size; ++i)
                    for (int32 k = 0; k < size; ++k)
                    {
                        std::array<int32, 3> at{};
                        at[axis] = level, at[(axis + 1) % 3] = i, at[(axis + 2) % 3] = k;
                        const bool isCell = isFilled(at[0], at[1], at[2]);
                        cells += isCell ? 1 : 0;
                        const bool isInside =
                            slice.polygons.locate({i + 0.5, k + 0.25}) == PointPlace::Inside;
                        marked[uint32(i)][uint32(k)] = isCell;
                        ASSERT_EQ(isInside, isCell) << seed << ", " << axis << ", " << slice.height;
                    }
                EXPECT_EQ(slice.polygons.area(), cells);
                for (uint32 n = 0; n < slice.polygons.size(); ++n) outers += slice.polygons.isHole(n) ? 0 : 1;
                EXPECT_EQ(outers, countGroups(marked)) << seed << ", " << axis << ", " << slice.height;
            }
        }
    }
}

// Coordinates rounded to eighths: faces that lie in planes, fold over and collapse, at every vertex's height.
TEST(MeshSlicing, ClosesAtTheHeightsOfVertices)
{
    const auto toEighths = [](double x) { return std::floor(x * 8) / 8; };
    std::mt19937 random(2);
    Mesh crumpled = makeTorus(30);
    for (Vector3D& p : crumpled.refPos())
        for (uint32 axis = 0; axis < 3; ++axis) p[axis] = int32(random() % 9) - 4;
    Mesh welded = makeTorus(60, toEighths);
    joinEqualPositions(welded);
    for (const Mesh& mesh : {makeTorus(60, toEighths), welded, crumpled, makeTorus(24)})
        for (uint32 axis = 0; axis < 3; ++axis)
        {
            const SliceFrame frame = SliceFrame::alongAxis(axis);
            const std::vector<double> heights = heightsOfVertices(mesh, axis);
            const MeshSlices slices = sliceMesh(mesh, frame, heights);
            expectClosed(slices);
            const MeshSlices simple = sliceMesh(mesh, frame, heights, {.tolerance = 0.2});
            expectClosed(simple);
            for (std::size_t n = 0; n < heights.size(); ++n)
                EXPECT_EQ(simple.slices[n].polygons.size(), slices.slices[n].polygons.size());
        }
}

TEST(MeshSlicing, GoesExactlyThroughVertices)
{
    const Mesh torus = makeTorus(24);
    for (const Vector3D& vertex : torus.pos())
    {
        const MeshSlices slices = sliceMesh(torus, alongZ, std::array{vertex.z});
        bool isThere = vertex.z == -1;  // where nothing lies below
        for (const Polygonum& loop : slices.slices[0].polygons)
            for (const Vector2D& p : loop)
            {
                const Vector2D apart = p - Vector2D{vertex.x, vertex.y};
                isThere |= apart == Vector2D{0, 0};
                EXPECT_TRUE(apart == (Vector2D{0, 0}) || length(apart) > 1e-9) << "beside a vertex";
            }
        EXPECT_TRUE(isThere) << vertex.x << ", " << vertex.y << ", " << vertex.z;
    }
}

// What CAD programs write; cracks in it are closed by joining what lies within a hundred-thousandth of its
// size.
TEST(MeshSlicing, ClosesRealMeshesAtTheHeightsOfTheirVertices)
{
    if (test::testData().empty()) GTEST_SKIP() << "TAVRIX_TEST_DATA is not set";
    uint32 meshes = 0;
    for (const auto& entry : std::filesystem::directory_iterator(test::testData() + "/meshes"))
    {
        const std::string name = entry.path().string(), kind = entry.path().extension().string();
        const auto& stl = MeshFileParser<MeshSTLFileParser>::instance();
        ArrayOfPtr<Mesh> read;
        if (kind == ".obj")
            MeshFileParser<Mesh_OBJ_FileParser>::instance().read(name.c_str(), read);
        else if (stl.read(name.c_str(), read);
                 read.empty() || read[0]->isEmpty())  // binary, but begins as text
            stl.read(name.c_str(), read, MeshSTLFileParser::Encoding::binary);
        if (read.empty()) continue;
        Mesh mesh = joinMeshes(read);
        joinEqualPositions(mesh);
        const Box3D box = boxOfFaces(mesh);
        if (!computeTopology(mesh).isClosed())
            weldVertices(mesh.refPos(), mesh.refTrindexPos(), std::array{1e-5 * length(box.max - box.min)});
        ASSERT_TRUE(computeTopology(mesh).isClosed()) << name;
        ++meshes;
        for (uint32 axis = 0; axis < 3; ++axis)
        {
            SCOPED_TRACE(name + ", axis " + std::to_string(axis));
            expectClosed(sliceMesh(mesh, SliceFrame::alongAxis(axis), heightsOfVertices(mesh, axis)));
            const double volume = signedVolume(mesh);
            if (!computeTopology(mesh).isConsistentlyOriented()) continue;
            EXPECT_NEAR(layeredVolume(mesh, axis, 2000) / volume, 1, 2e-3);
        }
    }
    EXPECT_GE(meshes, 8u);
}

// Faces that share no vertices, that wind as they like, or that are missing.
TEST(MeshSlicing, TakesMeshesAsTheyCome)
{
    const Mesh torus = makeTorus(40);
    const std::vector<double> heights = middles(-1, 1, 20);
    const std::vector<double> areas = areasOf(sliceMesh(torus, alongZ, heights));
    const auto expectAreas = [&](const MeshSlices& slices, const char* what)
    {
        expectClosed(slices);
        for (std::size_t n = 0; n < areas.size(); ++n)
            EXPECT_NEAR(slices.slices[n].polygons.area(), areas[n], 1e-9) << what;
    };
    std::mt19937 random(4);
    Mesh mixed = torus, soup, torn = torus;
    for (Index3& face : mixed.refTrindexPos())
        if (random() % 2 == 0) std::swap(face.a, face.b);
    expectAreas(sliceMesh(mixed, alongZ, heights), "faces that wind either way");
    for (const Index3& face : torus.trindexPos())
    {
        const uint32 a = soup.getPosSize();
        for (uint32 c = 0; c < 3; ++c) soup.refPos().push_back(torus.pos()[face[c]]);
        soup.refTrindexPos().push_back({a, a + 1, a + 2});
    }
    expectAreas(sliceMesh(soup, alongZ, heights), "faces without common vertices");
    for (Vector3D& p : soup.refPos()) p.x += 1e-9 * static_cast<double>(random() % 100);
    EXPECT_FALSE(sliceMesh(soup, alongZ, heights).slices[9].openChains.empty());
    expectClosed(sliceMesh(soup, alongZ, heights, {.gap = 1e-6}));

    Array<Index3>& faces = torn.refTrindexPos();
    faces.resize(faces.size() - 80);  // a piece of the tube
    torn.refPos()[5].x = std::nan("");
    const MeshSlices slices = sliceMesh(torn, alongZ, heights);
    EXPECT_EQ(slices.unusableFaces, 3u);  // the other three around that vertex are gone
    for (const MeshSlice& slice : slices.slices)
    {
        EXPECT_EQ(slice.polygons.size(), 0u) << slice.height;
        EXPECT_GE(slice.openChains.size(), 1u) << slice.height;
    }
    EXPECT_TRUE(sliceMesh(Mesh(), alongZ, heights).slices[3].openChains.empty());
    EXPECT_TRUE(sliceMesh(torus, alongZ, {}).slices.empty());
}

// Where a plane meets only tips and ridges there is nothing to enclose; it is counted.
TEST(MeshSlicing, LeavesOutTipsAndRidges)
{
    const Mesh tent = test::makeMesh(
        {{0, 0, 0}, {4, 0, 0}, {4, 2, 0}, {0, 2, 0}, {1, 1, 3}, {3, 1, 3}},
        {{0, 2, 1}, {0, 3, 2}, {0, 1, 5}, {0, 5, 4}, {1, 2, 5}, {2, 3, 4}, {2, 4, 5}, {3, 0, 4}});
    const MeshSlices slices = sliceMesh(tent, alongZ, std::array{3.0, 1.5});
    EXPECT_EQ(slices.flatLoops, 1u);
    EXPECT_EQ(slices.slices[0].polygons.size(), 0u);
    EXPECT_EQ(slices.slices[1].polygons.area(), 3);
    EXPECT_EQ(sliceMesh(test::makeTetrahedron(), alongZ, std::array{1.0}).flatLoops, 1u);
}

TEST(MeshSlicing, GivesTheSameForEveryThreadCountAndStopsWhenAsked)
{
    const Mesh mesh = makeTorus(300);
    const std::vector<double> heights = middles(-1, 1, 64);
    const auto checksum = [](const MeshSlices& slices)
    {
        uint64 sum = 0;
        for (const MeshSlice& slice : slices.slices)
            for (const Polygonum& loop : slice.polygons) sum = sum * 31 + test::checksum(loop.points());
        return sum;
    };
    const uint64 one = checksum(sliceMesh(mesh, alongZ, heights, {.threadCount = 1}));
    for (const uint32 threads : {2u, 3u, 8u})
        EXPECT_EQ(checksum(sliceMesh(mesh, alongZ, heights, {.threadCount = threads})), one);
    for (const uint32 threads : {1u, 3u})
    {
        MeshSlices slices;
        const auto run = [&](CancelCallback callback)
        {
            slices = sliceMesh(mesh, alongZ, heights, {.threadCount = threads}, callback);
            return !slices.isStopped;
        };
        EXPECT_GT(test::stopAtPolls(20, run, [&] { EXPECT_TRUE(slices.slices.empty()); }), 20);
    }
}
