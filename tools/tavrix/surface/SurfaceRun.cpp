#include "surface/SurfaceRun.h"

#include <cstdio>
#include <utility>

#include "commands/BlockMemory.h"
#include "commands/GridMemory.h"
#include "commands/ParticleCrop.h"
#include "files/MeshNotes.h"
#include "formats/FileName.h"
#include "formats/MeshFile.h"
#include "formats/ParticleFile.h"
#include "run/Failure.h"
#include "run/Progress.h"
#include "run/Text.h"
#include "surface/SurfaceFrame.h"

namespace tavrix::tool
{

namespace
{

const char* plural(uint32 count) { return count == 1 ? "" : "s"; }

void warnOfInfinite(const SurfaceOptions& options, const FrameReport& report)
{
    if (report.infinite == 0 || options.quiet) return;
    std::fprintf(stderr, "tavrix: %s: left out %u particle%s without a finite position\n",
                 options.input.c_str(), report.infinite, plural(report.infinite));
}

/// Of the parts that are left, and the cavities that were filled.
std::string cavityText(const ReconstructionReport& surface)
{
    if (!surface.settings.fillCavities) return "";
    return ", " + partText(surface.counts) + (surface.counts.cavities > 0 ? " filled" : "");
}

void printSummary(const SurfaceOptions& options, const FrameReport& report, const Progress& progress)
{
    const ReconstructionReport& surface = report.surface;
    std::printf("particles  %u, radius %.6g%s\n", surface.particles, *surface.settings.radius,
                surface.radiusIsEstimated ? " (estimated from their spacing)" : "");
    if (report.strays() > 0) std::printf("strays     %u left out\n", report.strays());
    std::fputs(latticeText(*surface.settings.spacing, surface.blocks).c_str(), stdout);
    std::printf("mesh       %u vertices, %u faces%s%s -> %s\n", report.vertices, report.faces,
                cavityText(surface).c_str(), report.hasVelocities ? ", with velocities" : "",
                options.output.c_str());
    if (!options.preview.empty()) std::printf("preview    -> %s\n", options.preview.c_str());
    printCosts(progress, surface.settings.threadCount);
}

/// The line that tells of a frame.
std::string frameText(const SurfaceOptions& options, const FrameReport& report, double seconds)
{
    std::string text = formatted("%u particles, ", report.surface.particles);
    if (report.infinite > 0) text += formatted("%u without a finite position, ", report.infinite);
    if (report.strays() > 0) text += formatted("%u strays left out, ", report.strays());
    return text + formatted("%u faces", report.faces) + cavityText(report.surface) +
           formatted(" -> %s, %.3f s", options.output.c_str(), seconds);
}

std::string surfaceOne(const SurfaceOptions& options)
{
    Progress progress(stageCount(options), options.quiet, options.label, options.bar());
    const FrameReport report = runFrame(options, progress);
    return tellFrame(options, report, progress);
}

Array<Vector3F> positionsOf(const SurfaceOptions& frame)
{
    formats::ParticleFile particles = formats::readParticleFile(frame.input);
    if (frame.crop) cropParticles(particles, *frame.crop, frame.input);
    return std::move(particles.positions);
}

/// Settles what the radius decides, by the first frame that can be read. Failures of frames are reported when
/// their turn comes.
std::string settleRadius(SurfaceOptions& options, const std::vector<SurfaceOptions>& frames)
{
    if (options.surface.radius) return {};
    const auto settled = ofFirstReadable(frames,
                                         [](const SurfaceOptions& frame)
                                         {
                                             const auto settings =
                                                 settledFor(frame.surface, positionsOf(frame));
                                             if (!settings.radius) throw Failure("no radius");
                                             return std::optional(std::pair(settings, frame.input));
                                         });
    return settled ? keepSettings(options, settled->first, settled->second) : std::string();
}

/// One camera for all frames: around the particles of all that can be read.
std::string settleView(SurfaceOptions& options, const std::vector<SurfaceOptions>& frames)
{
    if (options.preview.empty()) return {};
    Box3D whole = Box3D::empty();
    for (const SurfaceOptions& frame : frames)
    {
        const auto box = ofFirstReadable(std::vector{frame}, [](const SurfaceOptions& one)
                                         { return std::optional(boxAround(positionsOf(one))); });
        if (box) whole.extend(*box);
    }
    if (whole == Box3D::empty()) return {};
    options.viewBox = whole;
    return formatted("view %.9g %.9g %.9g to %.9g %.9g %.9g\n", whole.min.x, whole.min.y, whole.min.z,
                     whole.max.x, whole.max.y, whole.max.z);
}

}  // namespace

std::string tellFrame(const SurfaceOptions& options, const FrameReport& report, const Progress& progress)
{
    if (options.isFrame) return frameText(options, report, progress.totalSeconds());
    warnOfInfinite(options, report);
    if (!options.quiet) printSummary(options, report, progress);
    return {};
}

std::string keepSettings(SurfaceOptions& options, const ReconstructionSettings& settings,
                         const std::string& file)
{
    options.surface = settings;
    const std::string text = formatted("%.6g (estimated from %s)", *settings.radius, file.c_str());
    if (!options.quiet) std::printf("radius     %s\n", text.c_str());
    return "radius " + text + "\n";
}

int runSurface(const SurfaceOptions& options)
{
    const auto settle = [](SurfaceOptions& all, const std::vector<SurfaceOptions>& frames)
    { return settleRadius(all, frames) + settleView(all, frames); };
    return runFrameByFrame(options, settle, surfaceOne);
}

}  // namespace tavrix::tool
