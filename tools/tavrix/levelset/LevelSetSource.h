#pragma once

#include <string>

#include "levelset/LevelSetInput.h"
#include "run/Progress.h"

namespace tavrix::tool
{

/// The distances that a run of `tavrix levelset` starts from, and the lines that tell where they come from.
struct LevelSetSource
{
    LevelSet surface;
    std::string summary;
};

/// Bytes that the grid over what was read takes, with the work on it.
double gridBytesOf(const LevelSetInput& input, const LevelSetOptions& options);

/// Makes distances of what was read, in a band that reaches four separations beyond the surfaces to come and
/// on a grid that has room for them. Distances are exact as far out as some seconds allow, 3 to 10
/// separations, and carried on by sweeping from there. The same for every number of threads. `progress` is
/// told of the stage "distances". Throws Failure.
LevelSetSource sampleInput(const LevelSetInput& input, const LevelSetOptions& options, uint32 threads,
                           Progress& progress);

/// The same from the field file that the options name; "read" comes before.
LevelSetSource loadSource(const LevelSetOptions& options, uint32 threads, Progress& progress);

/// Makes room on the grid for what the options ask for, and distances as far as that needs: anew, or from
/// those that are there. Adds lines to the summary. Throws Failure.
void fitReshaping(LevelSetSource& source, const LevelSetOptions& options, bool isAnew, uint32 threads);

}  // namespace tavrix::tool
