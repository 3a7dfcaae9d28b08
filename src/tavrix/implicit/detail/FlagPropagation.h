#pragma once

#include <array>

#include <tavrix/fields/GridDescription3.h>
#include <tavrix/foundation/BitArray.h>
#include <tavrix/foundation/detail/Polling.h>

namespace tavrix::detail
{

/// The three flags of every node of a grid.
using NodeFlags = std::array<BitArray*, 3>;

/// Gives every node without a flag those of the node before it in its row, first forwards, then backwards;
/// along the z rows, then the y rows, then the x rows. Nothing happens when no node has a flag, or when the
/// arrays do not have a bit a node. Ends early when the polling stops it.
void propagateFlags(Polling& polling, const GridDescription3<double>& grid, const NodeFlags& flags);

}  // namespace tavrix::detail
