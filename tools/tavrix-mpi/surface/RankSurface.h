#pragma once

#include "ranks/MpiRanks.h"
#include "surface/SurfaceOptions.h"

namespace tavrix::tool
{

/// What `tavrix-mpi surface` was asked for besides what `tavrix surface` would be.
struct RankOptions
{
    Optional<uint32> ranksPerFrame = {};  ///< all for one file, one for a sequence
};

/// Surfaces one file by all ranks together, or the frames of a sequence by groups of them; the files are
/// those of runSurface, and the first rank of a group tells what that would. Returns the exit status, the
/// same on all ranks. Throws Failure on all ranks; anything else on one of them, which then ends the job.
int runSurfaceOverRanks(SurfaceOptions options, const RankOptions& rankOptions, MpiRanks& world);

}  // namespace tavrix::tool
