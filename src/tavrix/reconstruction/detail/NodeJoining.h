#pragma once

#include <vector>

#include <tavrix/foundation/RankGroup.h>
#include <tavrix/reconstruction/detail/BlockOrder.h>
#include <tavrix/reconstruction/detail/BlockOwners.h>
#include <tavrix/reconstruction/detail/BlockSurface.h>
#include <tavrix/reconstruction/detail/VertexNames.h>

namespace tavrix::detail
{

/// Joins the vertices of each node into the first of them, as joinAtNodes does, where ranks have the blocks:
/// the owner of the block in which a node lies decides. Returns the own vertices that are joined into others,
/// or others into them, ascending. The surfaces ascend by block; starts are those of their vertices.
/// Collective.
std::vector<JoinedVertex> joinOverRanks(RankGroup& ranks, const BlockLattice& lattice,
                                        const BlockOwners& owners, const std::vector<BlockSurface>& surfaces,
                                        const std::vector<BlockCount>& starts);

}  // namespace tavrix::detail
