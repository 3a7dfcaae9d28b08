#include "levelset/LevelSetBlocks.h"

#include <algorithm>

#include <tavrix/mesh/MeshTopology.h>
#include <tavrix/reconstruction/SolidSurface.h>

#include "commands/BlockMemory.h"
#include "commands/GridMemory.h"
#include "levelset/LevelSetNotes.h"
#include "levelset/LevelSetSource.h"
#include "run/Failure.h"
#include "run/Text.h"

namespace tavrix::tool
{

namespace
{

SolidSettings settingsOf(const LevelSetInput& input, const LevelSetOptions& options, uint32 threads)
{
    SolidSettings settings{input.spacing};
    settings.offset = options.offset;
    if (options.shell) settings.shell = *options.shell;
    settings.isSheet = options.isUnsigned;
    settings.fillCavities = options.fillCavities;
    settings.threadCount = threads;
    settings.memory = availableMemory();
    return settings;
}

/// Throws the Failure that says why there is no surface, and the way out.
void confirmDone(const SolidReport& report, const LevelSetInput& input, const LevelSetOptions& options,
                 const SolidSettings& settings)
{
    switch (report.status)
    {
        case SolidStatus::Done:
            return;
        case SolidStatus::TooWide:
            failTooWide(input.box, std::max(options.offset, 0.0), input.spacing, options.input);
        case SolidStatus::TooLarge:
            failTooLarge(report.bytes, static_cast<double>(*settings.memory), input.spacing, options.input);
        case SolidStatus::NoSurface:
            if (options.offset < 0 && report.depth + options.offset <= 0)
                failNothingIsLeft(options.offset, report.depth, options.input);
            failEnclosesNothing(options.input);
        case SolidStatus::NoFaces:
        case SolidStatus::Stopped:
            break;
    }
    throw Failure("interrupted");
}

}  // namespace

bool goesByBlocks(const LevelSetInput& input, const LevelSetOptions& options)
{
    constexpr double smallGrid = 1 << 29;  // bytes; sampled in a second or two, several times sooner
    const bool hasSides = !input.isMesh() || input.isClosed || options.isUnsigned;
    return hasSides && options.others.empty() && options.saveField.empty() && !options.redistance &&
           gridBytesOf(input, options) > smallGrid;
}

MadeByBlocks meshByBlocks(const LevelSetInput& input, Mesh& mesh, const LevelSetOptions& options,
                          uint32 threads, Progress& progress)
{
    const SolidSettings settings = settingsOf(input, options, threads);
    const SolidReport report =
        input.isMesh() ? reshapeSolid(input.mesh, mesh, settings, progressTo(progress))
                       : reshapeSpheres(input.centers, input.radius, mesh, settings, progressTo(progress));
    confirmDone(report, input, options, settings);
    if (input.isMesh() && !options.isUnsigned && signedVolume(input.mesh) < 0)
        progress.note(options.input + ": its faces look inwards and are turned around");
    if (options.shell && report.depth + options.offset <= *options.shell)
        noteNoCavity(options.input, progress);
    return {latticeText(input.spacing, report.blocks), report.counts.cavities};
}

}  // namespace tavrix::tool
