#pragma once

#include "surface/SurfaceOptions.h"

namespace tavrix::tool
{

/// Surfaces one file and prints a summary on standard output unless quiet. Throws Failure.
void surfaceFile(const SurfaceOptions& options);

/// Surfaces the frames of a sequence that are not up to date, in order, with the radius of the first one, and
/// for pictures with one camera. A frame that fails is reported on standard error and the rest go on. Returns
/// the exit status: 1 when a frame failed. Throws Failure when there are no frames, and when interrupted.
int surfaceSequence(const SurfaceOptions& options);

}  // namespace tavrix::tool
