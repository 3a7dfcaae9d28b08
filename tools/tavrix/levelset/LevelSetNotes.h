#pragma once

#include <string>

#include "levelset/LevelSetOptions.h"
#include "run/Progress.h"

// What is told of reshaped solids, whichever way they are made.

namespace tavrix::tool
{

/// Tells of walls that the spacing can hardly hold.
void noteThinWalls(const LevelSetOptions& options, double spacing, Progress& progress);
/// Tells that the shell fills the solid.
void noteNoCavity(const std::string& file, Progress& progress);

/// Throw the Failure.
/// @{
[[noreturn]] void failEnclosesNothing(const std::string& file);
[[noreturn]] void failNothingIsLeft(double offset, double depth, const std::string& file);
/// @}

}  // namespace tavrix::tool
