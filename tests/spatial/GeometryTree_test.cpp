#include <tavrix/spatial/GeometryTree.h>

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <random>
#include <set>

#include <spatial/PlainTree.h>
#include <tavrix/spatial/detail/IntegratingKernel.h>

namespace tavrix
{

namespace
{

using Node = GeometryNode<Box3F>;
using Tree = GeometryTree<Node>;
using test::PlainTree;

/// Kinds of boxes: corners on a small grid of integers give ties and equal boxes in plenty.
enum Kind
{
    anywhere,
    onSmallGrid,
    onLine,
    flat,
    equal,
    growing,
    lopsided,  ///< an eighth on one side of the first cut, in no order
    infinite,
    kindCount
};

std::vector<Box3F> makeBoxes(uint32 count, Kind kind, uint32 seed)
{
    std::mt19937 random(seed);
    const auto unit = [&] { return static_cast<float>(random() % 65536) / 65536; };
    std::vector<Box3F> boxes;
    for (uint32 n = 0; n < count; ++n)
    {
        Box3F box;
        for (uint32 axis = 0; axis < 3; ++axis)
        {
            float low = unit() * 100, extent = unit() * 5;
            if (kind == onSmallGrid || kind == flat)
                low = std::floor(low / 12), extent = std::floor(extent / 2);
            if (kind == onLine && axis != 1) low = 0, extent = 1;
            if (kind == flat && axis == 2) extent = 0;
            if (kind == lopsided) low = axis > 0 ? 0 : (n % 8 == 0) == (seed % 2 == 0) ? unit() : 9 + unit();
            if (kind == lopsided) extent = axis > 0 ? 1 : 0.1f;
            if (kind == equal) low = 3, extent = 2;
            if (kind == growing) low = 0, extent = std::ldexp(1.0f, static_cast<int>(n % 40));
            if (kind == infinite && random() % 3 == 0) low = -std::numeric_limits<float>::infinity();
            if (kind == infinite && random() % 3 == 0) extent = 1e20f;
            box.min[axis] = low;
            box.max[axis] = low + extent;
        }
        boxes.push_back(box);
    }
    return boxes;
}

/// Compares what one to three threads, by the seed, build.
void expectThePlainTree(uint32 count, Kind kind, uint32 seed)
{
    const std::vector<Box3F> boxes = makeBoxes(count, kind, seed);
    Tree tree;
    for (uint32 n = 0; n < count; ++n) tree.add(boxes[n], n);
    tree.integrate(1 + seed % 3);
    const auto isSame = [](const auto& a, const auto& b) { return a.link == b.link && a.box == b.box; };
    EXPECT_TRUE(std::ranges::equal(tree.nodes(), PlainTree(boxes).nodes(), isSame))
        << count << " boxes of kind " << kind << ", seed " << seed;
}

TEST(GeometryTree, IsThePlainTreeNodeForNodeForEveryThreadCount)
{
    for (uint32 seed = 0; seed < 3000; ++seed)
        expectThePlainTree(1 + seed % 49, static_cast<Kind>(seed % kindCount), seed);
    // with blocks, and with many
    for (const uint32 count : {63u, 255u, 256u, 257u, 264u, 265u, 600u, 1000u})
        for (uint32 kind = 0; kind < kindCount; ++kind)
            expectThePlainTree(count, static_cast<Kind>(kind), count + kind);
    for (const uint32 seed : {0u, 1u}) expectThePlainTree(264, lopsided, seed);
    for (const Kind kind : {anywhere, onSmallGrid}) expectThePlainTree(3000, kind, 7);
}

#if defined(TX_AVX2_KERNELS)
TEST(GeometryTree, KernelsGiveTheSameBytes)
{
    if (!detail::hasAvx2()) GTEST_SKIP() << "the processor has no AVX2";
    using detail::IntegratingRows;
    for (const Kind kind : {anywhere, onSmallGrid, infinite})
    {
        const auto scored = [&](auto* scoreLastRow, auto* rescore)
        {
            IntegratingRows rows{};
            std::fill(rows.volume, rows.volume + IntegratingRows::capacity, std::nanf(""));
            for (const Box3F& box : makeBoxes(200, kind, 5))
            {
                for (uint32 axis = 0; axis < 3; ++axis)
                {
                    rows.min[axis][rows.count] = box.min[axis];
                    rows.max[axis][rows.count] = box.max[axis];
                }
                rows.volume[rows.count++] = PlainTree::volume(box);
                scoreLastRow(rows);
            }
            for (const uint32 row : {0u, 31u, 199u}) rescore(rows, row);
            return rows;
        };
        const IntegratingRows plain = scored(detail::plain::scoreLastRow, detail::plain::rescore),
                              wide = scored(detail::avx2::scoreLastRow, detail::avx2::rescore);
        EXPECT_EQ(std::memcmp(&plain, &wide, sizeof plain), 0) << kind;
        EXPECT_EQ(detail::plain::bestRow(plain), detail::avx2::bestRow(wide));
    }
}
#endif

/// Children side by side behind their parent, every leaf there once, every box the union of those below.
void expectWhole(const Tree& tree, uint32 leafCount)
{
    ASSERT_EQ(tree.size(), 2 * leafCount - 1);
    std::set<uint32> children{0}, leaves;
    for (uint32 n = 0; n < tree.size(); ++n)
    {
        const Node& node = tree.node(n);
        if (node.isLeaf())
        {
            leaves.insert(node.geometryIndex());
            continue;
        }
        ASSERT_GT(node.link, n);
        children.insert({node.link, node.link + 1});
        EXPECT_EQ(node.box, PlainTree::unionOf(tree.geometry(node.link), tree.geometry(node.link + 1)));
    }
    EXPECT_EQ(leaves.size(), leafCount);
    EXPECT_EQ(children.size(), tree.size());
}

TEST(GeometryTree, GrowsAndIsRefitted)
{
    Tree tree;
    tree.integrate();
    EXPECT_EQ(tree.getRootNode(), Box3F::empty());
    const std::vector<Box3F> boxes = makeBoxes(700, anywhere, 1);
    for (uint32 n = 0; n < 500; ++n) tree.add(boxes[n], n);
    tree.integrate();
    for (uint32 n = 500; n < 700; ++n) tree.add(boxes[n], n);
    tree.integrate();
    expectWhole(tree, 700);

    for (uint32 n = 0; n < tree.size(); ++n)
        if (tree.node(n).isLeaf()) tree.geometry(n).max.x += static_cast<float>(n);
    const Tree stale = tree;
    const uint32 child = tree.node(0).link;
    tree.recalculateGeometryNodesNoLeafFromGeometryNodesLeafRecursive(child);
    EXPECT_NE(tree.geometry(child), stale.geometry(child));
    EXPECT_EQ(tree.geometry(child + 1), stale.geometry(child + 1));
    tree.recalculateGeometryNodesNoLeafFromGeometryNodesLeafRecursive(0);
    expectWhole(tree, 700);
    tree = stale;
    tree.recalculateGeometryNodesNoLeafFromGeometryNodesLeaf();
    expectWhole(tree, 700);
    tree.clear(100);
    EXPECT_EQ(tree.nodes().capacity(), 100u);
    tree.add(boxes[0], 3);
    tree.unreserve();
    EXPECT_EQ(tree.nodes().capacity(), 1u);
}

TEST(GeometryTree, MeshLeavesAreCubesUntilRefitted)
{
    const Array<Vector3D> positions{{0, 0, 0}, {3, 0, 0}, {0, 4, 0}, {0.1, 1e-50, 16777217}, {NAN, 0, 0}};
    const Array<Index3> triangles{{0, 1, 2}, {0, 1, 3}, {0, 1, 4}, {0, 1, 5}};
    Tree tree;
    tree.integrateMesh(triangles, positions, false);
    const auto boxOf = [&](uint32 triangle)
    {
        for (const Node& node : tree.nodes())
            if (node.isLeaf() && node.geometryIndex() == triangle) return node.box;
        return Box3F{};
    };
    EXPECT_EQ(boxOf(0), (Box3F{{-0.5f, 0, -2}, {3.5f, 4, 2}}));
    EXPECT_EQ(boxOf(2), Box3F::empty());
    EXPECT_EQ(boxOf(3), Box3F::empty());
    tree.recalculateMesh(triangles, positions, 0);
    EXPECT_EQ(boxOf(0), (Box3F{{0, 0, 0}, {3, 4, 0}}));
    EXPECT_EQ(boxOf(1), (Box3F{{0, 0, 0}, {3, std::numeric_limits<float>::denorm_min(), 16777218}}));
    expectWhole(tree, 4);
    tree.recalculateMesh(triangles, positions, 0x1p-23f);
    EXPECT_EQ(boxOf(0).max.x, 3 + 0x1.8p-22f);
    EXPECT_EQ(boxOf(0).min.x, 0);
    EXPECT_EQ(boxOf(2), Box3F::empty());
}

TEST(GeometryTree, DeepTreesAreVisitedToTheEnd)
{
    // each box as far again as those before make a chain of nodes, each a leaf and the rest of the chain
    constexpr uint32 count = 120;
    Tree tree;
    for (uint32 n = 0; n < count; ++n)
    {
        const float x = std::ldexp(1.0f, static_cast<int>(n));
        tree.add({{x, 0, 0}, {x, 1, 1}}, n);
    }
    tree.integrate();
    // brought to even distances, the deepest nearest: every other leaf has to wait until the end is reached
    std::vector<uint32> expected;
    for (uint32 pair = tree.node(0).link, next = noIndex; pair != noIndex; pair = next, next = noIndex)
        for (const uint32 n : {pair, pair + 1})
        {
            if (!tree.node(n).isLeaf())
            {
                next = tree.node(n).link;
                continue;
            }
            const auto x = static_cast<float>(count - expected.size());
            tree.geometry(n) = {{x, 0, 0}, {x, 1, 1}};
            expected.insert(expected.begin(), tree.node(n).geometryIndex());
        }
    ASSERT_EQ(expected.size(), count);
    tree.recalculateGeometryNodesNoLeafFromGeometryNodesLeaf();
    std::vector<uint32> found;
    const auto visit = [&](uint32 n, double limit) { return found.push_back(n), limit; };
    tree.visitNearest({0, 0, 0}, std::numeric_limits<double>::infinity(), visit);
    EXPECT_EQ(found, expected);
    found.clear();
    tree.visitRay({{0, 0.5, 0.5}, {2, 0, 0}}, 5.1, visit);
    EXPECT_EQ(found, std::vector<uint32>(expected.begin(), expected.begin() + 10));
    found.clear();
    tree.visitOverlapping(tree.getRootNode(), [&](uint32 n, double) { return found.push_back(n), -1; });
    EXPECT_EQ(found.size(), 1u) << "whoever visits ends it";
}

}  // namespace

}  // namespace tavrix
