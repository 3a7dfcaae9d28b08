#pragma once

#include <array>

#include <tavrix/foundation/Array.h>
#include <tavrix/foundation/detail/Polling.h>
#include <tavrix/mesh/detail/MeshFaces.h>
#include <tavrix/spatial/detail/WideNode.h>

namespace tavrix::detail
{

/// The children of a node, as WideNode has them.
using WideLinks = std::array<uint32, WideNode::width>;

/// Which nodes and faces are below which node. Every node comes before those below it, the root first;
/// `order` has the faces' numbers by slot, and those of one node lie side by side.
struct WideTopology
{
    Array<WideLinks> nodes;
    Array<uint32> order;
};

/// A tree of eight children a node, from above: runs of faces are halved where the surface-area heuristic
/// finds it cheapest, of sixteen slices an axis, or eight of the longest for small runs (Wald, On fast
/// Construction of SAH-based Bounding Volume Hierarchies, Symposium on Interactive Ray Tracing 2007), the run
/// of the largest surface in a node first, until there are eight or all have eight faces at most. O(n log n);
/// the same for every thread count. Sides that are not finite count as far away. More than 2^30 faces throw
/// std::length_error. What it returns means nothing once the polling has stopped.
WideTopology buildWideTree(const MeshFaces& faces, uint32 threadCount, Polling& polling);

}  // namespace tavrix::detail
