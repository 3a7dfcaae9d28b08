#pragma once

#include <string>

#include "surface/SurfaceFrame.h"
#include "surface/SurfaceOptions.h"

namespace tavrix::tool
{

/// Surfaces one file and prints a summary on standard output unless quiet; or the frames of a sequence, with
/// the radius of the first one on disk, and for pictures with one camera. Returns the exit status. Throws
/// Failure.
int runSurface(const SurfaceOptions& options);

// What is told of it, for programs that make the surface in another way.

/// The line that tells of a frame of a sequence; for one file prints what there is to tell.
std::string tellFrame(const SurfaceOptions& options, const FrameReport& report, const Progress& progress);
/// Makes settings, with all that the radius decides, those of all frames; tells of it, and returns it in
/// words. The file is the one whose particles the radius was estimated from.
std::string keepSettings(SurfaceOptions& options, const ReconstructionSettings& settings,
                         const std::string& file);

}  // namespace tavrix::tool
