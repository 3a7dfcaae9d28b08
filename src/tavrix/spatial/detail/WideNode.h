#pragma once

#include <tavrix/foundation/Vector3.h>

namespace tavrix::detail
{

/// A node of a WideTree: up to eight children, faces and nodes mixed, with their boxes side by side, so that
/// a query is tested with all of them at once. The boxes of children that are not there are turned inside
/// out, and infinite.
struct alignas(32) WideNode
{
    static constexpr uint32 width = 8;
    /// The bit of a child that is a face, whose lower bits are its slot; the others are nodes.
    static constexpr uint32 faceBit = 0x80000000u;
    static constexpr uint32 noChild = 0xFFFFFFFFu;

    static constexpr uint32 lowSides = 0, highSides = 3;

    float sides[6][width];   ///< of the children's boxes: the low ones by axis, then the high ones
    uint32 children[width];  ///< those that are there come first

    static constexpr bool isFace(uint32 child) { return (child & faceBit) != 0; }
    static constexpr uint32 slotOf(uint32 child) { return child & ~faceBit; }
};

static_assert(sizeof(WideNode) == 224);

/// A face of a tree: its corners and, in the same lines of the cache, its number.
struct alignas(16) WideFace
{
    Vector3D a, b, c;
    uint32 number;

    Vector3D at(const Vector3D& weights) const { return a * weights.x + b * weights.y + c * weights.z; }
};

static_assert(sizeof(WideFace) == 80);

/// The arrays of a tree: its nodes, the root first, and its faces by their slots.
struct WideTree
{
    const WideNode* nodes;
    const WideFace* faces;
};

/// No path through a tree is longer, and a query keeps up to seven nodes a level in mind.
inline constexpr uint32 wideTreeDepth = 96;

}  // namespace tavrix::detail
