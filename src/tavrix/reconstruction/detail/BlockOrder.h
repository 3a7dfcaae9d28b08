#pragma once

#include <vector>

#include <tavrix/foundation/RankGroup.h>
#include <tavrix/reconstruction/detail/BlockLattice.h>

namespace tavrix::detail
{

/// Vertices and faces of a block; or of all blocks before it.
struct BlockCount
{
    uint32 vertices = 0, faces = 0;
};

/// The numbers of the first vertices and faces of a rank's blocks where the blocks of all ranks stand in
/// their order, and the count of all behind them. own[n] is what blocks[n] has, which ascend. Ranks share the
/// work out by runs of blocks: collective, linear in what a rank has, some exchanges and as many sums as an
/// index has bits.
std::vector<BlockCount> startsInOrder(RankGroup& ranks, const std::vector<BlockIndex>& blocks,
                                      const std::vector<BlockCount>& own);

}  // namespace tavrix::detail
