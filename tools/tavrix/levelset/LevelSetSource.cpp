#include "levelset/LevelSetSource.h"

#include <cmath>

#include "commands/GridMemory.h"
#include "run/Failure.h"
#include "run/Interrupt.h"
#include "run/Text.h"

namespace tavrix::tool
{

namespace
{

/// Bytes that a run needs for each node of a grid that grows, which is there twice.
constexpr double bytesPerGrownNode = 10;

/// What distances are needed for.
LevelSetExtent extentOf(const LevelSetOptions& options, double spacing)
{
    return options.reshapes() ? LevelSetExtent::forOffset(spacing, options.offset, options.shell.value_or(0))
                              : LevelSetExtent{spacing};
}

/// The plan around what was read. Throws Failure when it does not fit.
LevelSetPlan planOver(const LevelSetInput& input, const LevelSetOptions& options)
{
    const LevelSetExtent extent = extentOf(options, input.spacing);
    const LevelSetPlan plan = planLevelSet(input.box, extent);
    confirmFits(plan.grid, input.box, extent.outermost + 3 * input.spacing, LevelSetPlan::bytesPerNode,
                options.input);
    return plan;
}

std::string gridAndBandText(const LevelSetPlan& plan, uint32 exactNodes)
{
    return "grid       " + gridText(plan.grid) + "\n" +
           (plan.band <= exactNodes
                ? formatted("band       %u spacings, exact\n", exactNodes)
                : formatted("band       %.4g spacings, exact to %u\n", plan.band, exactNodes));
}

/// Makes room on the field's grid for growth by the offset. Throws Failure when that does not fit.
void makeRoom(LevelSet& surface, const LevelSetOptions& options)
{
    const auto& grid = surface.getField().getGrid();
    const double nodes = std::ceil(options.offset / grid.largestSeparation);
    const double count = (grid.sizeX + 2 * nodes) * (grid.sizeY + 2 * nodes) * (grid.sizeZ + 2 * nodes);
    confirmFits(count, bytesPerGrownNode, options.source() + ": grown by --offset");
    surface = grownGrid(surface, static_cast<uint32>(nodes));
}

}  // namespace

void fitReshaping(LevelSetSource& source, const LevelSetOptions& options, bool isAnew, uint32 threads)
{
    LevelSet& surface = source.surface;
    if (options.offset > 0) makeRoom(surface, options);
    const auto& grid = surface.getField().getGrid();
    const double band = bandFor(extentOf(options, grid.largestSeparation), grid.box);
    const GridFit fit{
        {double(grid.sizeX), double(grid.sizeY), double(grid.sizeZ)}, {0, 0, 0}, grid.largestSeparation};
    source.summary += "grid       " + gridText(fit) + "\n" + formatted("band       %.4g spacings\n", band);
    if (isAnew)
        redistanceBand(surface, band, threads, StageScope::poll);
    else if (options.reshapes())
        widenBandTo(surface, band, threads, StageScope::poll);
    stopIfInterrupted();
}

double gridBytesOf(const LevelSetInput& input, const LevelSetOptions& options)
{
    return planLevelSet(input.box, extentOf(options, input.spacing)).bytes();
}

LevelSetSource sampleInput(const LevelSetInput& input, const LevelSetOptions& options, uint32 threads,
                           Progress& progress)
{
    const LevelSetPlan plan = planOver(input, options);
    const StageScope stage(progress, "distances");
    LevelSetSource source{{}, input.summary};
    bool wasTurned = false;
    const uint32 exact =
        input.isMesh()
            ? sampleMesh(source.surface, input.mesh, plan,
                         options.isUnsigned ? TX_IMPLICIT_SURFACE_UNSIGNED : TX_IMPLICIT_SURFACE_SIGNED,
                         threads, StageScope::poll, &wasTurned)
            : sampleParticles(source.surface, input.centers, input.radius, plan, threads, StageScope::poll);
    stopIfInterrupted();
    if (wasTurned) progress.note(options.input + ": its faces look inwards and are turned around");
    source.summary += gridAndBandText(plan, exact);
    return source;
}

LevelSetSource loadSource(const LevelSetOptions& options, uint32 threads, Progress& progress)
{
    progress.begin("read");
    const auto confirm = [&](uint32 nodes)
    { confirmFits(nodes, LevelSetPlan::bytesPerNode, options.loadField); };
    LevelSetSource source{formats::readField(options.loadField, options.layout, confirm),
                          "input      a field\n"};
    stopIfInterrupted();
    const StageScope stage(progress, "distances");
    fitReshaping(source, options, options.redistance, threads);
    return source;
}

}  // namespace tavrix::tool
