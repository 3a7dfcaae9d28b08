#pragma once

#include <vector>

#include <tavrix/foundation/detail/RankSelection.h>
#include <tavrix/foundation/RankGroup.h>
#include <tavrix/reconstruction/detail/BlockLattice.h>

// Who does what, where many ranks make one surface. Every block of the lattice belongs to one of them. What a
// block yields depends on nothing but the particles that reach it, so who owns which does not show.

namespace tavrix::detail
{

/// Makes the extent that of all ranks. Collective.
void extendOver(RankGroup& ranks, LatticeExtent& extent);

/// A block by its place on the endless lattice, counted from the block that begins at node 0.
using BlockPlace = std::array<int64, 3>;

inline BlockPlace placeOf(const BlockLattice& lattice, const BlockIndex& block)
{
    BlockPlace place;
    for (uint32 axis = 0; axis < 3; ++axis) place[axis] = lattice.nodeOf(block, axis) >> blockShift;
    return place;
}

/// Tells which rank owns a block; the same on all ranks, for every block there is.
class BlockOwners
{
public:
    virtual ~BlockOwners() = default;
    virtual uint32 ownerOf(const BlockPlace& block) const = 0;
};

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

/// Blocks along a Hilbert curve (Hilbert 1891; the index by Skilling, Programming the Hilbert Curve, 2004),
/// cut into runs, one a rank, whose loads are as equal as whole blocks allow. Neighbours on the curve touch,
/// so a run has few neighbours. All that a rank keeps is where the runs end.
class CurveOwners : public BlockOwners
{
public:
    /// The curve covers the blocks of the lattice up to `last`; those beyond belong to the nearest. Loads
    /// that several ranks tell of one block add up. Collective.
    CurveOwners(RankGroup& ranks, const BlockLattice& lattice, const BlockIndex& last,
                const std::vector<BlockLoad>& loads);

    uint32 ownerOf(const BlockPlace& block) const override;

private:
    WideKey keyOf(const BlockPlace& block) const;

    BlockPlace _first;
    uint32 _bits;                ///< of an index along an axis
    std::vector<WideKey> _cuts;  ///< where the runs of ranks 1, 2, … begin
};

/// The owners that have about the same work each, by what every rank's share puts into the blocks.
/// Collective.
CurveOwners shareOut(RankGroup& ranks, const BlockLattice& lattice, const BlockIndex& last,
                     const std::vector<BlockFilling>& fillings, double reach);

}  // namespace tavrix::detail
