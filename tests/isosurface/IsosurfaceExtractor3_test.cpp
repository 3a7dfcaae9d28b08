#include <Polls.h>
#include <tavrix/isosurface/IsosurfaceExtractor3.h>

#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <random>
#include <vector>

#include <tavrix/isosurface/detail/MarchingCubesTable.h>
#include <tavrix/mesh/Mesh.h>
#include <tavrix/mesh/MeshTopology.h>

using namespace tavrix;

namespace
{

using Field = ScalarField3<float, double>;
using Extractor = IsosurfaceExtractor3;

template <class Value = float>
ScalarField3<Value, double> noise(uint32 sizeX, uint32 sizeY, uint32 sizeZ, uint32 seed)
{
    ScalarField3<Value, double> field;
    field.reset(sizeX, sizeY, sizeZ, Vector3D{0.5, 0.75, 1.25});
    std::mt19937 random(seed);
    for (Value& sample : field.refArrScalars()) sample = static_cast<Value>(random() % 2001) / 1000 - 1;
    return field;
}

/// Noise whose border lies below every threshold, so that surfaces close.
Field closedNoise(uint32 size, uint32 seed)
{
    Field field = noise(size, size, size, seed);
    for (uint32 m = 0; m < field.size(); ++m)
    {
        const Index3 n = field.getIndexes(m);
        for (uint32 axis = 0; axis < 3; ++axis)
            if (n[axis] == 0 || n[axis] == size - 1) field.set(m, -2.0f);
    }
    return field;
}

struct Surface
{
    std::vector<GridEdgeKey> keys;
    std::vector<Vector3D> positions;
    std::vector<Index3> faces;
};

/// The contract read literally: nodes in the order of the parallel loop, a crossing list, and each
/// crossing once, bucket by bucket.
template <class Value, class Selected>
Surface literalSurface(const ScalarField3<Value, double>& field, Value threshold, uint32 threads,
                       Selected selected)
{
    std::vector<std::vector<GridEdgeKey>> lists(threads);
    const auto visit = [&](uint32 worker, uint32 m)
    {
        const Index3 n = field.getIndexes(m);
        if (n.a + 1 >= field.sizeX() || n.b + 1 >= field.sizeY() || n.c + 1 >= field.sizeZ() || !selected(n))
            return;
        uint32 cubeCase = 0;
        const uint32 offsets[8][3] = {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0},
                                      {0, 0, 1}, {1, 0, 1}, {1, 1, 1}, {0, 1, 1}};
        for (uint32 c = 0; c < 8; ++c)
            if (field.get(n.a + offsets[c][0], n.b + offsets[c][1], n.c + offsets[c][2]) >= threshold)
                cubeCase |= 1u << c;
        for (const int8_t* e = detail::marchingCubesTriangles[cubeCase].data(); *e >= 0; ++e)
        {
            const detail::CellEdge& edge = detail::cellEdges[static_cast<uint32>(*e)];
            lists[worker].push_back(
                {field.getGrid().getMonoindex(n.a + edge.dx, n.b + edge.dy, n.c + edge.dz), edge.axis});
        }
    };
    uint32 start = 0, remaining = field.size();
    while (remaining != 0)
    {
        const uint32 chunk = std::max(remaining / threads, 1u), workers = std::min(threads, remaining);
        for (uint32 w = 0; w < workers; ++w)
            for (uint32 m = start + w * chunk; m < start + (w + 1) * chunk; ++m) visit(w, m);
        start += workers * chunk;
        remaining %= workers;
    }

    std::vector<GridEdgeKey> crossings;
    for (const auto& list : lists) crossings.insert(crossings.end(), list.begin(), list.end());
    Surface surface;
    const auto bucketCount = static_cast<uint32>(crossings.size() / 6);
    if (bucketCount == 0) return surface;
    std::map<std::pair<uint32, uint32>, uint32> numbers;
    for (const GridEdgeKey& key : crossings)
        if (numbers.try_emplace({key.a, key.b}).second) surface.keys.push_back(key);
    std::ranges::stable_sort(surface.keys, {}, [&](const GridEdgeKey& key) { return key.a % bucketCount; });
    for (uint32 n = 0; n < surface.keys.size(); ++n) numbers[{surface.keys[n].a, surface.keys[n].b}] = n;
    const auto number = [&](const GridEdgeKey& key) { return numbers[{key.a, key.b}]; };
    for (std::size_t f = 0; f < crossings.size(); f += 3)
        surface.faces.push_back({number(crossings[f]), number(crossings[f + 1]), number(crossings[f + 2])});
    for (const GridEdgeKey& key : surface.keys)
    {
        const Index3 low = field.getIndexes(key.a);
        Index3 high = low;
        ++high[key.b];
        const double a = field.get(low), b = field.get(high);
        const Vector3D pa = field.getPoint(low), pb = field.getPoint(high);
        surface.positions.push_back(pa + (pb - pa) * ((threshold - a) / (b - a)));
    }
    return surface;
}

void expectSurface(const Mesh& mesh, const Array<GridEdgeKey>& keys, unsigned long returned,
                   const Surface& expected)
{
    EXPECT_EQ(returned, expected.faces.size());
    EXPECT_TRUE(std::ranges::equal(keys, expected.keys));
    EXPECT_TRUE(std::ranges::equal(mesh.trindexPos(), expected.faces));
    EXPECT_TRUE(std::ranges::equal(mesh.trindexNor(), expected.faces));
    EXPECT_TRUE(std::ranges::equal(mesh.pos(), expected.positions));
    EXPECT_EQ(mesh.nor().size(), expected.positions.size());
}

}  // namespace

TEST(IsosurfaceExtractor3, MatchesTheLiteralReading)
{
    const Index3 sizes[] = {{7, 6, 9}, {2, 2, 2}, {5, 2, 2}, {3, 4, 67}, {2, 9, 130}, {12, 3, 64}, {1, 5, 5}};
    const auto expectLiteral =
        []<class Value>(const ScalarField3<Value, double>& field, Value threshold, uint32 threads)
    {
        Mesh mesh;
        Array<GridEdgeKey> keys;
        const auto returned =
            Extractor::extractMesh(field, mesh, threshold, 0, 0, 0, 0, 0, 0, keys, threads, nullptr, false);
        expectSurface(mesh, keys, returned,
                      literalSurface(field, threshold, threads, [](const Index3&) { return true; }));
    };
    for (const Index3& size : sizes)
        for (uint32 threads : {1u, 2u, 3u, 7u, 11u, 16u})
            for (uint32 seed = 0; seed < 4; ++seed)
            {
                SCOPED_TRACE(testing::Message()
                             << size.a << "x" << size.b << "x" << size.c << " threads " << threads);
                const Field single = noise(size.a, size.b, size.c, seed);
                expectLiteral(single, seed == 3 ? single[0] : 0.1f, threads);
                expectLiteral(noise<double>(size.a, size.b, size.c, seed), 0.1, threads);
            }
}

TEST(IsosurfaceExtractor3, MarginsAndBoxesSelectCells)
{
    const Field field = noise(9, 8, 70, 5);
    const auto expectSelected = [&](const auto& extract, const auto& selected)
    {
        Mesh mesh;
        Array<GridEdgeKey> keys;
        const auto returned = extract(mesh, keys);
        expectSurface(mesh, keys, returned, literalSurface(field, 0.0f, 1, selected));
    };
    const uint32 margins[][6] = {
        {1, 2, 0, 3, 60, 5}, {4, 4, 0, 0, 0, 0}, {0, 9, 0, 0, 0, 0}, {0, 8, 0, 0, 1, 70}};
    for (const auto& m : margins)
        expectSelected(
            [&](Mesh& mesh, Array<GridEdgeKey>& keys) {
                return Extractor::extractMesh(field, mesh, 0.0f, m[0], m[1], m[2], m[3], m[4], m[5], keys,
                                              false);
            },
            [&](const Index3& n)
            {
                return m[0] <= n.a && n.a < field.sizeX() - m[1] - 1 && m[2] <= n.b &&
                       n.b < field.sizeY() - m[3] - 1 && m[4] <= n.c && n.c < field.sizeZ() - m[5] - 1;
            });
    const Box3D boxes[] = {{{-1, -1, -30}, {1, 1.5, 3}},
                           {{-100, -100, 40}, {100, 100, 100}},
                           {{0.1, 0.1, 0.1}, {0.2, 0.2, 0.2}},
                           field.getBox()};
    for (const Box3D& box : boxes)
        expectSelected(
            [&](Mesh& mesh, Array<GridEdgeKey>& keys)
            { return Extractor::extractMesh(field, mesh, 0.0f, box, keys, 3, nullptr, false); },
            [&](const Index3& n)
            {
                for (uint32 c = 0; c < 8; ++c)
                    if (box.contains(field.getPoint(n.a + (c & 1), n.b + (c >> 1 & 1), n.c + (c >> 2))))
                        return true;
                return false;
            });
}

// With all 256 cases of a cell.
TEST(IsosurfaceExtractor3, TiledFieldsGiveWhatDenseFieldsGive)
{
    std::mt19937 engine(8);
    const auto random = [&] { return static_cast<uint32>(engine()); };
    for (uint32 n = 0; n < 120; ++n)
    {
        const uint32 size[] = {2 + random() % 20, 2 + random() % 20, 2 + random() % 20};
        ScalarField3_SG<float, double> tiled;
        tiled.reset(size[0], size[1], size[2], Vector3D{0.5, 0.75, 1.25}, 2 + random() % 8);
        tiled.moveTo({0.1, 3, -2});
        tiled.setDefaultValue(n % 3 == 0 ? 0.7f : -0.2f);  // inside, outside
        const Index3 center{random() % size[0], random() % size[1], random() % size[2]};
        if (n % 5 == 0)  // a layer that no stored tile before it shares
            tiled.refTile_alloc(tiled.getTileSize() - 1)[0] = 0.9f;
        else
            for (uint32 m = random() % 400; m > 0; --m)
                tiled.set((center.a + random() % 5) % size[0], (center.b + random() % 5) % size[1],
                          (center.c + random() % 5) % size[2],
                          static_cast<float>(random() % 2001) / 1000 - 1);
        Field dense;
        dense.reset(size[0], size[1], size[2], Vector3D{0.5, 0.75, 1.25});
        dense.moveTo({0.1, 3, -2});
        for (uint32 m = 0; m < dense.size(); ++m) dense.set(m, tiled.get(m));

        const uint32 threads = n % 4 == 0 ? 1 + random() % 700 : 1 + random() % 3;
        const uint32 margin = random() % 2;
        Mesh expected, mesh;
        Array<GridEdgeKey> expectedEdges, edges;
        const bool cleanUp = n % 2 == 0;
        const auto count = Extractor::extractMesh(dense, expected, 0.1f, margin, 0, 0, margin, 0, 0,
                                                  expectedEdges, threads, nullptr, cleanUp);
        EXPECT_EQ(Extractor::extractMesh(tiled, mesh, 0.1f, margin, 0, 0, margin, 0, 0, edges, threads,
                                         nullptr, cleanUp),
                  count);
        EXPECT_EQ(mesh.pos(), expected.pos());
        EXPECT_EQ(mesh.trindexPos(), expected.trindexPos());
        EXPECT_EQ(mesh.trindexNor(), expected.trindexNor());
        EXPECT_EQ(edges, expectedEdges);

        const Box3D box{{-1, 1, -5}, {2, 5, 3}};
        Mesh expectedInBox, inBox;
        EXPECT_EQ(Extractor::extractMesh(tiled, inBox, 0.1f, box, threads, nullptr, cleanUp),
                  Extractor::extractMesh(dense, expectedInBox, 0.1f, box, threads, nullptr, cleanUp));
        EXPECT_EQ(inBox.trindexPos(), expectedInBox.trindexPos());
    }
}

TEST(IsosurfaceExtractor3, SurfacesCloseAndAreOrientedForEveryThreadCount)
{
    const Field field = closedNoise(28, 0);
    Mesh reference;
    ASSERT_GT(Extractor::extractMesh(field, reference, 0.0f, 0, 0, 0, 0, 0, 0, false), 1000u);
    EXPECT_TRUE(computeTopology(reference).isClosed());
    EXPECT_TRUE(computeTopology(reference).isConsistentlyOriented());
    for (uint32 threads : {2u, 3u, 7u, 16u})
    {
        Mesh mesh;
        Extractor::extractMesh(field, mesh, 0.0f, 0, 0, 0, 0, 0, 0, threads, nullptr, false);
        EXPECT_EQ(mesh.pos(), reference.pos());
        EXPECT_EQ(mesh.trindexPos(), reference.trindexPos());
    }
}

TEST(IsosurfaceExtractor3, BallHasItsVolumeAreaAndTopology)
{
    const double pi = std::acos(-1.0), r = 0.8;
    Field ball;  // larger inside
    ball.reset(65, 65, 65, 2.0 / 64);
    for (uint32 m = 0; m < ball.size(); ++m) ball[m] = static_cast<float>(r - length(ball.getPoint(m)));
    for (bool cleanUp : {false, true})
    {
        Mesh mesh;
        Extractor::extractMesh(ball, mesh, 0.0f, 0, 0, 0, 0, 0, 0, 2, nullptr, cleanUp);
        EXPECT_TRUE(computeTopology(mesh).isClosed());
        EXPECT_EQ(computeTopology(mesh).eulerCharacteristic(), 2);
        EXPECT_NEAR(signedVolume(mesh), -4.0 / 3.0 * pi * r * r * r, 0.005) << "faces look inwards";
        EXPECT_NEAR(surfaceArea(mesh), 4 * pi * r * r, 0.01);
    }
}

TEST(IsosurfaceExtractor3, TooLittleSurfaceLeavesTheMeshAlone)
{
    Field field;
    field.reset(3, 3, 3, 1.0);
    field.set(0.0f);
    Mesh mesh;
    mesh.createCubePrimitive({{0, 0, 0}, {1, 1, 1}});
    const Mesh before(mesh);
    const auto extract = [&](float threshold)
    { return Extractor::extractMesh(field, mesh, threshold, 0, 0, 0, 0, 0, 0, true); };
    EXPECT_EQ(extract(1), 0u);
    EXPECT_EQ(extract(0), 0u) << "equal to the threshold is inside";
    field.set(0, 0, 0, 2.0f);
    EXPECT_EQ(extract(1), 0u) << "one triangle is too few";
    field.reset_toZeroSize();
    EXPECT_EQ(extract(1), 0u);
    EXPECT_EQ(mesh.pos(), before.pos());
    EXPECT_EQ(mesh.trindexPos(), before.trindexPos());
}

TEST(IsosurfaceExtractor3, AppendsPositionsAndReplacesFaces)
{
    const Field field = closedNoise(8, 1);
    Mesh fresh, used;
    used.createCubePrimitive({{0, 0, 0}, {1, 1, 1}});
    for (Mesh* mesh : {&fresh, &used}) Extractor::extractMesh(field, *mesh, 0.0f, 0, 0, 0, 0, 0, 0, false);
    EXPECT_TRUE(std::ranges::equal(std::span(used.pos()).subspan(8), fresh.pos()));
    EXPECT_EQ(used.nor().size(), fresh.nor().size() + 8);
    EXPECT_EQ(used.trindexPos(), fresh.trindexPos());
}

TEST(IsosurfaceExtractor3, EveryPollCanCancel)
{
    const Field field = closedNoise(12, 2);
    Mesh held;
    held.createCubePrimitive({{0, 0, 0}, {1, 1, 1}});
    for (uint32 threads : {1u, 3u})
    {
        const auto extract = [&](CancelCallback callback)
        {
            Mesh mesh(held);
            Array<GridEdgeKey> edges{{7, 7}};
            const auto faces =
                Extractor::extractMesh(field, mesh, 0.0f, 0, 0, 0, 0, 0, 0, edges, threads, callback, true);
            EXPECT_EQ(mesh.pos() == held.pos() && mesh.nor() == held.nor(), faces == 0);
            EXPECT_EQ(mesh.trindexPos() == held.trindexPos() && edges.size() == 1, faces == 0);
            return faces > 0;
        };
        EXPECT_GT(test::stopAtPolls(1000, extract, [] {}), 10);
    }
}
