#pragma once

#include <tavrix/foundation/Array.h>
#include <tavrix/foundation/BlockDesc.h>
#include <tavrix/foundation/Box3.h>

namespace tavrix::detail
{

/// A node to be merged, with its box at hand.
struct IntegratingEntry
{
    Box3F box;
    uint32 node;
};

/// Blocks of at most this many entries are not split.
inline constexpr uint32 largestBlock = 256;

/// Cuts the entries into blocks of at most largestBlock, reordering them, and returns the blocks.
///
/// Blocks are split in rounds: a round goes over the blocks that there are at its start, in order; of a block
/// that is split the low side stays in its place and the high side is appended. A split is at the centre of
/// the box of all entries, on the axis with the fewest entries across it (of equal axes the later). Low is
/// what has its box centre, min + (max - min) / 2, below that; both sides keep their order. When one side has
/// fewer than an eighth, it gets an eighth: the entries are sorted by their centres, equal ones in their
/// order, and centres that are not a number behind all others. The result does not depend on the thread
/// count.
Array<BlockDesc> splitIntoBlocks(Array<IntegratingEntry>& entries, uint32 threadCount);

}  // namespace tavrix::detail
