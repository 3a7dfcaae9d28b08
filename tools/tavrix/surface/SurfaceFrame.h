#pragma once

#include <optional>
#include <string>

#include <tavrix/reconstruction/SurfaceReconstruction.h>

#include "run/Progress.h"
#include "surface/SurfaceOptions.h"

namespace tavrix::tool
{

/// What was made of a frame.
struct FrameReport
{
    ReconstructionReport surface;
    uint32 infinite;  ///< particles left out, for they have no finite position
    uint32 vertices, faces;
    bool hasVelocities;

    uint32 strays() const { return surface.leftOut.size(); }
};

/// Particles in, surface mesh (and picture) out: reads, reconstructs the surface, writes, draws; `progress`
/// is told of the stages. Throws Failure.
FrameReport runFrame(const SurfaceOptions& options, Progress& progress);

/// The number of stages that the options make runFrame go through.
std::size_t stageCount(const SurfaceOptions& options);

}  // namespace tavrix::tool
