#pragma once

#include <tavrix/spatial/GeometryNode.h>

namespace tavrix
{

/// A node of a tree that is being built, whose children may lie anywhere: `link` names the first, as in a
/// finished tree, and `child` the second, which there is link + 1. Of a leaf `child` is noIndex.
template <class Box>
struct GeometryNodeEx
{
    /// The node, whose link names the first child, and the second child.
    /// @{
    GeometryNode<Box> node;
    uint32 child;
    /// @}

    /// Takes a node of a finished tree, whose children lie side by side.
    static constexpr GeometryNodeEx from(const GeometryNode<Box>& node)
    {
        return {node, node.isLeaf() ? noIndex : node.link + 1};
    }
};

static_assert(sizeof(GeometryNodeEx<Box3F>) == 36);

}  // namespace tavrix
