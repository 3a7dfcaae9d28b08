#pragma once

#include "levelset/LevelSetSource.h"

namespace tavrix::tool
{

/// The options of a run that makes no more of its input than distances, for others to be combined with.
LevelSetOptions withoutReshaping(LevelSetOptions options);

/// Combines the source with the other solids that the options name, in their order, meshes and particles
/// sampled at its spacing; then makes distances of the result as far as the options need them. `progress` is
/// told of the stages "read", "distances" and "combine". Throws Failure, also when nothing is left.
void combineWithOthers(LevelSetSource& source, const LevelSetOptions& options, uint32 threads,
                       Progress& progress);

}  // namespace tavrix::tool
