#pragma once

#include <tavrix/foundation/Box3.h>

namespace tavrix
{

/// The bit of GeometryNode::link that marks a leaf.
inline constexpr uint32 geometryLeafBit = 0x80000000u;

/// A node of GeometryTree: a box, and either two child nodes or one geometry (a triangle, say).
template <class Box>
struct GeometryNode
{
    /// Around everything below the node, once the tree is refitted.
    Box box;
    uint32 word;  ///< free for hosts; the library keeps it and does not look at it
    uint32 link;  ///< of an internal node the position of its first child, the second comes next; of a leaf
                  ///< the index of its geometry and geometryLeafBit

    /// A leaf whose free word is 0; the index is below 2^31.
    static constexpr GeometryNode leaf(const Box& box, uint32 geometryIndex)
    {
        return {box, 0, geometryIndex | geometryLeafBit};
    }
    /// Whether it has a geometry instead of children.
    constexpr bool isLeaf() const { return (link & geometryLeafBit) != 0; }
    /// The number of a leaf's geometry.
    constexpr uint32 geometryIndex() const { return link & ~geometryLeafBit; }
};

static_assert(sizeof(GeometryNode<Box3F>) == 32);

}  // namespace tavrix
