#pragma once

#include <string>
#include <vector>

#include <tavrix/reconstruction/SurfaceReconstruction.h>

#include "formats/ParticleFile.h"
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

    uint32 strays() const { return surface.strays; }
};

/// Particles in, surface mesh (and picture) out: reads, reconstructs the surface, writes, draws; `progress`
/// is told of the stages. Throws Failure.
FrameReport runFrame(const SurfaceOptions& options, Progress& progress);

// The steps of that, for programs that make the surface in another way.

/// What the reconstruction is told: the options, with what of them goes into the file, the threads, and the
/// memory that may still be taken.
ReconstructionSettings frameSettings(const SurfaceOptions& options);

/// What the mesh is to carry: velocities, first, and what was asked for. Throws Failure when the particles
/// have no such attribute.
std::vector<ParticleAttribute> wantedAttributes(const SurfaceOptions& options,
                                                const formats::ParticleFile& particles);

/// Throws the Failure that says why there is no surface, and the way out; the hint stands before it where the
/// work is too much.
void confirmDone(const ReconstructionReport& report, const std::string& file, const std::string& hint);

/// Clips the mesh, draws and writes it.
FrameReport finishFrame(const SurfaceOptions& options, formats::ParticleFile& particles,
                        ReconstructionReport report, Mesh mesh, Progress& progress);

/// The number of stages that the options make runFrame go through.
std::size_t stageCount(const SurfaceOptions& options);

}  // namespace tavrix::tool
