#include "levelset/LevelSetCombination.h"

#include "commands/GridMemory.h"
#include "formats/FileKind.h"
#include "formats/FileName.h"
#include "run/Failure.h"
#include "run/Interrupt.h"

namespace tavrix::tool
{

namespace
{

/// The options of a run on another solid alone.
LevelSetOptions optionsOf(const OtherSolid& other, const LevelSetOptions& options, double spacing)
{
    LevelSetOptions alone = withoutReshaping(options);
    alone.input = other.file;
    alone.loadField.clear();
    alone.spacing = spacing;
    alone.crop.reset();
    alone.others.clear();
    return alone;
}

/// The distances of another solid.
LevelSetSource sourceOf(const OtherSolid& other, const LevelSetOptions& options, double spacing,
                        uint32 threads, Progress& progress)
{
    if (formats::extensionOf(other.file) == "field")
    {
        progress.begin("read");
        const auto confirm = [&](uint32 nodes)
        { confirmFits(nodes, LevelSetPlan::bytesPerNode, other.file); };
        return {formats::readField(other.file, {}, confirm), "input      a field\n"};
    }
    LevelSetOptions alone = optionsOf(other, options, spacing);
    if (formats::holdsMesh(other.file)) alone.radius.reset();
    return sampleInput(readInput(alone, progress), alone, threads, progress);
}

struct OperationName
{
    const char *option, *heading;
};

OperationName nameOf(SolidOperation operation)
{
    switch (operation)
    {
        case SolidOperation::Union:
            return {"--union", "union      "};
        case SolidOperation::Intersection:
            return {"--intersect", "intersect  "};
        case SolidOperation::Difference:
            break;
    }
    return {"--subtract", "subtract   "};
}

/// The line of a summary that tells what was read, the first.
std::string inputLine(const std::string& summary) { return summary.substr(0, summary.find('\n') + 1); }

/// That line of another solid, with the operation as its heading.
std::string lineOf(const OtherSolid& other, const std::string& summary)
{
    constexpr std::size_t headingLength = 11;
    const std::string line = inputLine(summary);
    const std::string what = line.starts_with("particles") ? "particles, " : "";
    return nameOf(other.operation).heading + other.file + ": " + what + line.substr(headingLength);
}

void combineWith(LevelSet& surface, const LevelSet& more, const OtherSolid& other, uint32 threads)
{
    constexpr double bytesPerCombinedNode = 9;  // two grids and their flags
    const std::string step = other.file + ": " + nameOf(other.operation).option;
    confirmFits(combinedGrid(surface, more, other.operation).nodeCount(), bytesPerCombinedNode, step);
    combine(surface, more, other.operation, threads, StageScope::poll);
    stopIfInterrupted();
    float low, high;
    surface.findMinMax(low, high);
    if (!(low < 0)) throw Failure(step + " leaves nothing of the solid");
}

}  // namespace

LevelSetOptions withoutReshaping(LevelSetOptions options)
{
    options.offset = 0;
    options.shell.reset();
    return options;
}

void combineWithOthers(LevelSetSource& source, const LevelSetOptions& options, uint32 threads,
                       Progress& progress)
{
    const double spacing = source.surface.getField().getPointSeparation();
    source.summary = inputLine(source.summary);
    for (const OtherSolid& other : options.others)
    {
        const LevelSetSource more = sourceOf(other, options, spacing, threads, progress);
        const StageScope stage(progress, "combine");
        combineWith(source.surface, more.surface, other, threads);
        source.summary += lineOf(other, more.summary);
    }
    const StageScope stage(progress, "combine");
    fitReshaping(source, options, options.reshapes(), threads);
}

}  // namespace tavrix::tool
