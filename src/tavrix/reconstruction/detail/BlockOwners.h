#pragma once

#include <vector>

#include <tavrix/foundation/detail/RankSelection.h>
#include <tavrix/foundation/RankGroup.h>
#include <tavrix/reconstruction/detail/BlockLoads.h>

// Who does what, where many ranks make one surface. Every block of the lattice belongs to one of them. What a
// block yields depends on nothing but the particles that reach it, so who owns which does not show.

namespace tavrix::detail
{

/// Makes the extent that of all ranks. Collective.
void extendOver(RankGroup& ranks, LatticeExtent& extent);

/// Tells which rank owns a block; the same on all ranks, for every block there is.
class BlockOwners
{
public:
    virtual ~BlockOwners() = default;
    virtual uint32 ownerOf(const BlockPlace& block) const = 0;
};

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
