#include <stdexcept>
#include <vector>

#include <tavrix/foundation/detail/Polling.h>
#include <tavrix/foundation/ParallelFor.h>
#include <tavrix/mesh/detail/MeshFaces.h>
#include <tavrix/spatial/detail/IntegratingTable.h>
#include <tavrix/spatial/detail/TreeSplit.h>
#include <tavrix/spatial/GeometryTree.h>

namespace tavrix
{

namespace
{

using Node = GeometryNode<Box3F>;
using WorkNode = GeometryNodeEx<Box3F>;
using detail::IntegratingEntry;

/// What a block keeps for the next pass.
constexpr uint32 survivorsOfBlock = 32;
/// As many entries make another pass.
constexpr uint32 entriesOfPass = 256;

/// The leaves as work nodes, with room for the nodes above them.
Array<WorkNode> workNodes(const Array<Node>& nodes)
{
    uint32 leafCount = 0;
    for (const Node& node : nodes) leafCount += node.isLeaf();
    if (leafCount > geometryLeafBit / 2) throw std::length_error("tavrix::GeometryTree: too many leaves");
    Array<WorkNode> work;
    work.reserve(2 * leafCount);
    for (const Node& node : nodes)
        if (node.isLeaf()) work.push_back(WorkNode::from(node));
    return work;
}

/// Number of nodes that merging `count` entries creates.
uint32 mergesTo(uint32 target, uint32 count) { return count > target ? count - target : 0; }

/// Merges the entries of all blocks and returns what is left, block after block.
Array<uint32> integrateBlocks(Array<WorkNode>& work, const Array<IntegratingEntry>& entries,
                              const Array<BlockDesc>& blocks, uint32 threadCount)
{
    // where the new nodes of each block go
    std::vector<uint32> firstNew(blocks.size());
    uint32 end = work.size();
    for (uint32 b = 0; b < blocks.size(); ++b)
    {
        firstNew[b] = end;
        end += mergesTo(survivorsOfBlock, blocks[b].count);
    }
    work.resize(end);
    Array<uint32> ordered(entries.size());
    std::vector<uint32> counts(blocks.size());
    constexpr uint64 entriesPerPiece = 8192;  // each is compared with those of its block
    parallelFor(blocks.size(), detail::threadsWorth(entries.size(), entriesPerPiece, threadCount),
                [&](uint32, uint64 begin, uint64 endOfRun)
                {
                    detail::IntegratingTable table;
                    for (uint64 b = begin; b < endOfRun; ++b)
                    {
                        const auto [start, count] = blocks[b];
                        for (uint32 n = start; n < start + count; ++n) ordered[n] = entries[n].node;
                        counts[b] = table.integrateSubset(work.data(), ordered.data() + start, count,
                                                          survivorsOfBlock, firstNew[b]);
                    }
                });
    Array<uint32> survivors;
    for (uint32 b = 0; b < blocks.size(); ++b)
        for (uint32 n = 0; n < counts[b]; ++n) survivors.push_back(ordered[blocks[b].start + n]);
    return survivors;
}

/// One pass over many entries: blocks are cut and merged.
Array<uint32> integratePass(Array<WorkNode>& work, const Array<uint32>& nodes, uint32 threadCount)
{
    Array<IntegratingEntry> entries(nodes.size());
    for (uint32 n = 0; n < nodes.size(); ++n) entries[n] = {work[nodes[n]].node.box, nodes[n]};
    const Array<BlockDesc> blocks = detail::splitIntoBlocks(entries, threadCount);
    return integrateBlocks(work, entries, blocks, threadCount);
}

/// Merges everything and returns the root.
uint32 integrateAll(Array<WorkNode>& work, uint32 threadCount)
{
    Array<uint32> entries(work.size());
    for (uint32 n = 0; n < work.size(); ++n) entries[n] = n;
    while (entries.size() >= entriesOfPass) entries = integratePass(work, entries, threadCount);
    const uint32 firstNew = work.size();
    work.resize(firstNew + mergesTo(1, entries.size()));
    detail::IntegratingTable().integrateSubset(work.data(), entries.data(), entries.size(), 1, firstNew);
    return entries[0];
}

/// Writes the tree below the root in its final order.
void writeBack(const Array<WorkNode>& work, uint32 root, Array<Node>& nodes)
{
    struct Place
    {
        uint32 node, work;
    };
    nodes.resize(work.size());
    Array<Place> open{{0, root}};
    uint32 next = 1;
    while (!open.empty())
    {
        const Place place = open.back();
        open.resize(open.size() - 1);
        const WorkNode& from = work[place.work];
        nodes[place.node] = from.node;
        if (from.node.isLeaf()) continue;
        nodes[place.node].link = next;
        open.push_back({next + 1, from.child});
        open.push_back({next, from.node.link});
        next += 2;
    }
}

/// The cube that stands for a triangle while boxes are merged.
Box3F mergingBox(const Box3D& box)
{
    if (box.isEmpty()) return Box3F::empty();
    const Vector3D extent = box.max - box.min;
    const Vector3D center = box.min + extent * 0.5;
    const double half = 0.4 * length(extent);
    const Vector3D diagonal{half, half, half};
    return {convert<float>(center - diagonal), convert<float>(center + diagonal)};
}

}  // namespace

template <class Node>
void GeometryTree<Node>::integrate(uint32 threadCount)
{
    if (isEmpty()) return;
    Array<WorkNode> work = workNodes(_nodes);
    const uint32 root = integrateAll(work, threadCount);
    writeBack(work, root, _nodes);
}

template <class Node>
void GeometryTree<Node>::integrateMesh(const Array<Index3>& triangles, const Array<Vector3D>& positions,
                                       bool recalculate, uint32 threadCount)
{
    const detail::MeshFaces faces(positions, triangles);
    _nodes.reserve(std::max(_nodes.capacity(), _nodes.size() + 2 * triangles.size()));
    for (uint32 t = 0; t < triangles.size(); ++t) add(mergingBox(faces.box(t)), t);
    integrate(threadCount);
    if (recalculate && !isEmpty()) recalculateMesh(triangles, positions, 0, threadCount);
}

template void GeometryTree<Node>::integrate(uint32);
template void GeometryTree<Node>::integrateMesh(const Array<Index3>&, const Array<Vector3D>&, bool, uint32);

}  // namespace tavrix
