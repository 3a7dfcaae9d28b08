#pragma once

#include <vector>

#include <tavrix/foundation/RankGroup.h>
#include <tavrix/reconstruction/detail/BlockSurface.h>

namespace tavrix::detail
{

/// Brings the surfaces of all ranks' blocks to the first rank, ascending by block; the others have none left.
/// Collective. Takes, at the first rank, what the surfaces take.
void gatherSurfaces(RankGroup& ranks, std::vector<BlockSurface>& surfaces);

}  // namespace tavrix::detail
