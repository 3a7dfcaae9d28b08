#pragma once

#include <vector>

#include <tavrix/foundation/RankGroup.h>
#include <tavrix/reconstruction/detail/BlockOwners.h>
#include <tavrix/reconstruction/detail/BlockSurface.h>
#include <tavrix/reconstruction/detail/MeshPart.h>

namespace tavrix::detail
{

/// Makes this rank's part of the mesh that assembleMesh makes of the surfaces of all ranks' blocks: those of
/// its own blocks, which ascend and are used up. With `joinsAtNodes` vertices at nodes are joined and sheets
/// cut apart. The part has the faces around its vertices, and copies of their corners. Collective; linear in
/// the part.
void assemblePart(RankGroup& ranks, const BlockLattice& lattice, const BlockOwners& owners,
                  std::vector<BlockSurface>& surfaces, bool joinsAtNodes, MeshPart& part);

}  // namespace tavrix::detail
