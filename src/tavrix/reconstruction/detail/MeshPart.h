#pragma once

#include <tavrix/mesh/detail/MeshBorder.h>
#include <tavrix/reconstruction/RankMesh.h>

namespace tavrix::detail
{

/// A mesh on its way: that of one process, which has it all and no border, or a rank's part of it.
struct MeshPart : RankMesh
{
    MeshBorder border;
};

}  // namespace tavrix::detail
