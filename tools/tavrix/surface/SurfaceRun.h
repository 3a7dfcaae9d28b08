#pragma once

#include "surface/SurfaceOptions.h"

namespace tavrix::tool
{

/// Surfaces one file and prints a summary on standard output unless quiet; or the frames of a sequence, with
/// the radius of the first one on disk, and for pictures with one camera. Returns the exit status. Throws
/// Failure.
int runSurface(const SurfaceOptions& options);

}  // namespace tavrix::tool
