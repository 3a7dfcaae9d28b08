#include <tavrix/spatial/GeometryTree.h>

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <set>

#include <spatial/PlainTree.h>
#include <tavrix/platform/detail/CpuFeatures.h>
#include <tavrix/spatial/detail/IntegratingRows.h>

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
            if (kind == onSmallGrid || kind == flat) low = std::floor(low / 12), extent = std::floor(extent / 2);
            if (kind == onLine && axis != 1) low = 0, extent = 1;
            if (kind == flat && axis == 2) extent = 0;
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

Tree makeTree(const std::vector<Box3F>& boxes, uint32 threads = 1)
{
    Tree tree;
    for (uint32 n = 0; n < boxes.size(); ++n) tree.add(boxes[n], n);
    tree.integrate(threads);
    return tree;
}

/// The position of the first node that differs, the number of nodes when none does.
uint32 firstDifference(const Tree& tree, const PlainTree& plain)
{
    if (tree.size() != plain.nodes().size()) return 0;
    uint32 n = 0;
    while (n < tree.size() && tree.node(n).link == plain.nodes()[n].link &&
           tree.node(n).box == plain.nodes()[n].box)
        ++n;
    return n;
}

TEST(GeometryTree, IsThePlainTreeNodeForNode)
{
    const auto expectSame = [](uint32 count, Kind kind, uint32 seed)
    {
        const std::vector<Box3F> boxes = makeBoxes(count, kind, seed);
        const PlainTree plain(boxes);
        EXPECT_EQ(firstDifference(makeTree(boxes, 1 + seed % 3), plain), plain.nodes().size())
            << count << " boxes of kind " << kind << ", seed " << seed;
    };
    for (uint32 seed = 0; seed < 3000; ++seed)
        expectSame(1 + seed % 49, static_cast<Kind>(seed % kindCount), seed);
    for (const uint32 count : {63u, 255u, 256u, 257u, 293u, 600u, 1000u})
        for (uint32 kind = 0; kind < kindCount; ++kind) expectSame(count, static_cast<Kind>(kind), count + kind);
    for (const Kind kind : {anywhere, onSmallGrid}) expectSame(10000, kind, 7);
}

}  // namespace

}  // namespace tavrix
