#pragma once

#include <algorithm>
#include <vector>

#include <tavrix/reconstruction/detail/BlockSurface.h>

// How blocks find the vertices on edges that they share.

namespace tavrix::detail
{

/// A foreign edge of a block in the block that it belongs to.
struct OwnedEdge
{
    BlockIndex block;
    BlockEdge edge;
    uint32 sides;  ///< a bit for each axis along which that is the block before
};

inline OwnedEdge ownedEdge(const BlockIndex& block, BlockEdge foreign)
{
    const uint32 axis = foreign % 3, node = foreign / 3;
    uint32 at[] = {node / (blockNodes * blockNodes), node / blockNodes % blockNodes, node % blockNodes};
    OwnedEdge owned{block, 0, 0};
    for (uint32 across = 0; across < 3; ++across)
        if (across != axis && at[across] == 0)
        {
            at[across] = blockEdge;
            --owned.block[across];
            owned.sides |= 1u << across;
        }
    owned.edge = blockEdgeAt(at[0], at[1], at[2], axis);
    return owned;
}

/// The surface of a block among those that ascend; null when it has none.
inline const BlockSurface* surfaceAt(const std::vector<BlockSurface>& surfaces, const BlockIndex& block)
{
    const auto found =
        std::lower_bound(surfaces.begin(), surfaces.end(), block,
                         [](const BlockSurface& surface, const BlockIndex& b) { return surface.block < b; });
    return found != surfaces.end() && found->block == block ? &*found : nullptr;
}

/// The vertex of a block's surface that lies on a shared edge of its own; noIndex when none does.
inline uint32 vertexAt(const BlockSurface& surface, BlockEdge edge)
{
    const StoredRun<SharedVertex>& shared = surface.sharedVertices;
    const SharedVertex* found = std::lower_bound(shared.begin(), shared.end(), SharedVertex{edge, 0});
    return found != shared.end() && found->edge == edge ? found->vertex : noIndex;
}

}  // namespace tavrix::detail
