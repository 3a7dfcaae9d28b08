#pragma once

#include "formats/ParticleFile.h"
#include "ranks/MpiRanks.h"
#include "surface/SurfaceOptions.h"

namespace tavrix::tool
{

/// Reads the particles of a frame, every rank its share of them, and leaves out those that --crop does. Of
/// BIN files no rank reads more than its share; others are read by the first rank, which deals them out. All
/// ranks have the same attributes. Throws the Failure of formats::readParticleFile, and of --crop, for all.
formats::ParticleFile readShare(const SurfaceOptions& options, MpiRanks& ranks);

}  // namespace tavrix::tool
