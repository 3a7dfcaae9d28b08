#pragma once

#include <string>

#include <tavrix/reconstruction/RankMesh.h>

#include "formats/MeshLayout.h"
#include "ranks/MpiRanks.h"

namespace tavrix::tool
{

/// Writes a file that does not exist, each rank the records of its own vertices and faces, some megabytes at
/// a time, after which the ranks agree on whether all is well (MPI-IO). False, on all ranks, when a part of
/// it could not be written. The mesh is that of the rank's part. Collective.
bool writeShared(MpiRanks& ranks, const std::string& path, const formats::FileLayout& layout,
                 const formats::NumberedMesh& mesh, const RankMesh& part);

}  // namespace tavrix::tool
