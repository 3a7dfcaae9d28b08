#pragma once

#include <optional>
#include <string>

#include <tavrix/foundation/Box3.h>

#include "GridFit.h"
#include "Progress.h"
#include "SurfaceSettings.h"

namespace tavrix::tool
{

/// One particle file and what becomes of it.
struct SurfaceFiles
{
    std::string input, output;
    std::string preview;  ///< empty: none
};

/// What was made of a frame.
struct FrameReport
{
    SurfaceSettings settings;
    uint32 particles;  ///< that took part
    uint32 infinite;   ///< left out, for they have no finite position
    uint32 strays;     ///< left out, for they have too few neighbours
    GridFit grid;
    uint32 vertices, faces;
    bool hasVelocities;
};

/// Particles in, surface mesh (and picture) out: reads, drops strays, builds the field, extracts, relaxes,
/// computes normals, carries velocities over, writes, draws; `progress` is told of the stages.
///
/// settings: absent, they are settled for this frame. viewBox: what the camera looks at; absent, the
/// particles. Throws Failure.
FrameReport runFrame(const SurfaceOptions& options, const SurfaceFiles& files,
                     const std::optional<SurfaceSettings>& settings, const std::optional<Box3D>& viewBox,
                     Progress& progress);

/// The number of stages that the options make runFrame go through.
std::size_t stageCount(const SurfaceOptions& options);

}  // namespace tavrix::tool
