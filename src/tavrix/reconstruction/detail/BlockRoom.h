#pragma once

#include <memory>

#include <tavrix/reconstruction/detail/BlockLattice.h>

namespace tavrix::detail
{

/// The samples of one block at a time, in a room that stays in cache.
struct BlockRoom
{
    /// Samples along z that are stored: whole groups of lanes, the quick case for the kernels. Those past the
    /// block are of no meaning.
    static constexpr uint32 rowLength = (blockNodes + 7) / 8 * 8;
    static constexpr std::size_t strideY = rowLength, strideX = std::size_t{rowLength} * blockNodes;

    BlockIndex block;
    uint32 low[3], high[3];       ///< the nodes that particles may reach, half open; all others have 0
    double nodes[3][blockNodes];  ///< coordinates per axis
    std::unique_ptr<float[]> samples{new float[strideX * blockNodes]};

    /// Takes a block's place; the samples and the nodes that may be reached are the caller's.
    void moveTo(const BlockLattice& lattice, const BlockIndex& index)
    {
        block = index;
        for (uint32 axis = 0; axis < 3; ++axis)
        {
            const int64 first = lattice.nodeOf(block, axis);
            for (uint32 n = 0; n < blockNodes; ++n)
                nodes[axis][n] = static_cast<double>(first + n) * lattice.spacing;
        }
    }

    float* at(uint32 i, uint32 j, uint32 k) const { return samples.get() + i * strideX + j * strideY + k; }
};

}  // namespace tavrix::detail
