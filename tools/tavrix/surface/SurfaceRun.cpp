#include "surface/SurfaceRun.h"

#include <cstdio>
#include <new>

#include "commands/BlockMemory.h"
#include "commands/GridMemory.h"
#include "files/MeshNotes.h"
#include "formats/FileName.h"
#include "formats/MeshFile.h"
#include "formats/ParticleFile.h"
#include "run/Failure.h"
#include "run/Interrupt.h"
#include "surface/FrameSequence.h"
#include "surface/SurfaceFrame.h"

namespace tavrix::tool
{

namespace
{

const char* plural(uint32 count) { return count == 1 ? "" : "s"; }

void warnOfInfinite(const SurfaceOptions& options, const SurfaceFiles& files, const FrameReport& report)
{
    if (report.infinite == 0 || options.quiet) return;
    std::fprintf(stderr, "tavrix: %s: left out %u particle%s without a finite position\n",
                 files.input.c_str(), report.infinite, plural(report.infinite));
}

/// Of the parts that are left, and the cavities that were filled.
std::string cavityText(const ReconstructionReport& surface)
{
    if (!surface.settings.fillCavities) return "";
    return ", " + partText(surface.counts) + (surface.counts.cavities > 0 ? " filled" : "");
}

void printSummary(const SurfaceFiles& files, const FrameReport& report, const Progress& progress)
{
    const ReconstructionReport& surface = report.surface;
    std::printf("particles  %u, radius %.6g%s\n", surface.particles, *surface.settings.radius,
                surface.radiusIsEstimated ? " (estimated from their spacing)" : "");
    if (report.strays() > 0) std::printf("strays     %u left out\n", report.strays());
    std::fputs(latticeText(*surface.settings.spacing, surface.blocks).c_str(), stdout);
    std::printf("mesh       %u vertices, %u faces%s%s -> %s\n", report.vertices, report.faces,
                cavityText(surface).c_str(), report.hasVelocities ? ", with velocities" : "",
                files.output.c_str());
    if (!files.preview.empty()) std::printf("preview    -> %s\n", files.preview.c_str());
    printCosts(progress, surface.settings.threadCount);
}

/// How the frames of a sequence ended.
struct Tally
{
    uint32 written = 0, upToDate = 0, failed = 0;
};

/// The sequence's frames, and what they share.
struct Sequence
{
    const SurfaceOptions& options;
    std::vector<Frame> frames;
    std::optional<ReconstructionSettings> settings;
    std::optional<Box3D> viewBox;

    SurfaceFiles filesOf(const Frame& frame) const
    {
        return {fillPattern(options.input, frame.digits), fillPattern(options.output, frame.digits),
                fillPattern(options.preview, frame.digits)};
    }
};

bool areUpToDate(const SurfaceFiles& files)
{
    return !formats::isSameFile(files.output, files.input) && isUpToDate(files.output, files.input) &&
           (files.preview.empty() || isUpToDate(files.preview, files.input));
}

/// The settings of the first frame that can be read; its failures are reported when its turn comes.
std::optional<ReconstructionSettings> sharedSettings(const Sequence& sequence)
{
    for (const Frame& frame : sequence.frames)
    {
        try
        {
            const std::string file = sequence.filesOf(frame).input;
            const auto settings =
                settledFor(sequence.options.surface, formats::readParticleFile(file).positions);
            if (settings.radius) return settings;
        }
        catch (const Failure&)
        {
        }
    }
    return std::nullopt;
}

/// The box around the particles of all frames that can be read.
std::optional<Box3D> sharedBox(const Sequence& sequence)
{
    Box3D whole = Box3D::empty();
    for (const Frame& frame : sequence.frames)
    {
        try
        {
            const Box3D box = boxAround(formats::readParticleFile(sequence.filesOf(frame).input).positions);
            whole.extend(box.min);
            whole.extend(box.max);
        }
        catch (const Failure&)
        {
        }
        stopIfInterrupted();
    }
    return whole == Box3D::empty() ? std::nullopt : std::optional(whole);
}

void surfaceFrame(const Sequence& sequence, const SurfaceFiles& files, const std::string& label)
{
    Progress progress(stageCount(sequence.options), sequence.options.quiet, label);
    const FrameReport report =
        runFrame(sequence.options, files, sequence.settings.value_or(sequence.options.surface),
                 sequence.viewBox, progress);
    warnOfInfinite(sequence.options, files, report);
    if (sequence.options.quiet) return;
    std::printf("%s  %u particles, ", label.c_str(), report.surface.particles);
    if (report.strays() > 0) std::printf("%u strays left out, ", report.strays());
    std::printf("%u faces%s -> %s, %.3f s\n", report.faces, cavityText(report.surface).c_str(),
                files.output.c_str(), progress.totalSeconds());
    std::fflush(stdout);
}

/// False when the frame failed; the message is printed.
bool tryFrame(const Sequence& sequence, const SurfaceFiles& files, const std::string& label)
{
    try
    {
        surfaceFrame(sequence, files, label);
        return true;
    }
    catch (const Failure& failure)
    {
        if (interrupted()) throw;
        std::fprintf(stderr, "tavrix: %s\n", failure.what());
    }
    catch (const std::bad_alloc&)
    {
        std::fprintf(stderr, "tavrix: %s: not enough memory; try a larger --spacing\n", files.input.c_str());
    }
    return false;
}

}  // namespace

void surfaceFile(const SurfaceOptions& options)
{
    const SurfaceFiles files{options.input, options.output, options.preview};
    Progress progress(stageCount(options), options.quiet);
    const FrameReport report = runFrame(options, files, options.surface, std::nullopt, progress);
    warnOfInfinite(options, files, report);
    if (!options.quiet) printSummary(files, report, progress);
}

int surfaceSequence(const SurfaceOptions& options)
{
    Sequence sequence{options, findFrames(options.input, options.first, options.last), {}, {}};
    Tally tally;
    for (const Frame& frame : sequence.frames)
    {
        const SurfaceFiles files = sequence.filesOf(frame);
        if (!options.force && areUpToDate(files))
        {
            ++tally.upToDate;
            continue;
        }
        if (!sequence.settings) sequence.settings = sharedSettings(sequence);
        if (!options.preview.empty() && !sequence.viewBox) sequence.viewBox = sharedBox(sequence);
        ++(tryFrame(sequence, files, frame.digits) ? tally.written : tally.failed);
    }
    if (!options.quiet)
        std::printf("frames     %u written, %u up to date, %u failed\n", tally.written, tally.upToDate,
                    tally.failed);
    return tally.failed == 0 ? 0 : 1;
}

}  // namespace tavrix::tool
