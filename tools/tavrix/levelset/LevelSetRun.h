#pragma once

#include "levelset/LevelSetOptions.h"

namespace tavrix::tool
{

/// Makes a level set of what the options name, reshapes it, writes the surface and the field that they ask
/// for, and prints a summary on standard output unless quiet; or does so for each frame of a sequence.
/// Returns the exit status. Throws Failure.
int runLevelSet(const LevelSetOptions& options);

}  // namespace tavrix::tool
