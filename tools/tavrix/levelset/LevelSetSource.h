#pragma once

#include <string>

#include "levelset/LevelSetOptions.h"
#include "run/Progress.h"

namespace tavrix::tool
{

/// The distances that a run of `tavrix levelset` starts from, and the lines that tell where they come from.
struct LevelSetSource
{
    LevelSet surface;
    std::string summary;
};

/// Reads the mesh, the particles or the field that the options name, and makes distances of it, in a band
/// that reaches four separations beyond the surfaces to come and on a grid that has room for them. Distances
/// are exact as far out as some seconds allow, 3 to 10 separations, and carried on by sweeping from there.
/// The same for every number of threads. `progress` is told of the stages "read" and
/// "distances" and of what is wrong with the input. Throws Failure.
LevelSetSource makeLevelSet(const LevelSetOptions& options, uint32 threads, Progress& progress);

}  // namespace tavrix::tool
