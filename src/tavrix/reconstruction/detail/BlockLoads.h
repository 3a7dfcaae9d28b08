#pragma once

#include <vector>

#include <tavrix/reconstruction/detail/BlockLattice.h>

// What blocks are likely to cost, before their surface is made.

namespace tavrix::detail
{

/// A block by its place on the endless lattice, counted from the block that begins at node 0.
using BlockPlace = std::array<int64, 3>;

inline BlockPlace placeOf(const BlockLattice& lattice, const BlockIndex& block)
{
    BlockPlace place;
    for (uint32 axis = 0; axis < 3; ++axis) place[axis] = lattice.nodeOf(block, axis) >> blockShift;
    return place;
}

/// Calls visit(block, axis, which) for the blocks below and above a block along each axis.
template <class Visit>
void forEachBeside(const BlockPlace& block, Visit visit)
{
    for (uint32 axis = 0; axis < 3; ++axis)
        for (const uint32 which : {0u, 1u})
        {
            BlockPlace beside = block;
            beside[axis] += which == 0 ? -1 : 1;
            visit(beside, axis, which);
        }
}

/// A block with the work that it makes.
struct BlockLoad
{
    BlockPlace block;
    int64 load;
    uint32 sides = 0;  ///< of buckets, at which surface is likely
};

/// What is known of a block before its surface is made: how many particles lie in it, and in which of its 64
/// buckets of eight cells a side, a bit each, z fastest.
struct BlockFilling
{
    BlockPlace block;
    int64 particles;
    uint64 buckets;
};

/// The bit of the bucket in which a cell of a block lies; by the cell's last five bits.
inline uint64 bucketBit(uint32 i, uint32 j, uint32 k)
{
    return uint64{1} << ((i >> 3 & 3) << 4 | (j >> 3 & 3) << 2 | (k >> 3 & 3));
}

/// Puts together what is known of each block; ascending.
std::vector<BlockFilling> putTogether(std::vector<BlockFilling> fillings);

/// The work that each of the own blocks makes, where particles reach so many cells: that of its particles,
/// and of the surface that is likely where buckets are full beside empty ones. What is known ascends, and has
/// the own blocks and those beside them.
std::vector<BlockLoad> loadsOf(const std::vector<BlockFilling>& own, const std::vector<BlockFilling>& known,
                               double reach);

}  // namespace tavrix::detail
