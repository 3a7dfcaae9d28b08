#include "levelset/LevelSetRun.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <optional>
#include <vector>

#include <tavrix/foundation/ArrayOfPtr.h>
#include <tavrix/implicit/LevelSetExtraction.h>
#include <tavrix/mesh/MeshCavities.h>
#include <tavrix/mesh/MeshRepair.h>
#include <tavrix/mesh/MeshTopology.h>

#include "commands/GridMemory.h"
#include "files/MeshNotes.h"
#include "formats/FileName.h"
#include "formats/MeshFile.h"
#include "levelset/LevelSetBlocks.h"
#include "levelset/LevelSetCombination.h"
#include "levelset/LevelSetInput.h"
#include "levelset/LevelSetNotes.h"
#include "levelset/LevelSetSource.h"
#include "preview/Picture.h"
#include "preview/Render.h"
#include "run/Failure.h"
#include "run/Interrupt.h"
#include "run/Text.h"

namespace tavrix::tool
{

namespace
{

/// Throws Failure when there is a field file already: it cannot be told from a file of any other kind, so
/// nothing says that it may go.
void confirmField(const LevelSetOptions& options)
{
    std::error_code ignored;
    if (!options.sequence.force &&
        std::filesystem::is_regular_file(formats::pathOf(options.saveField), ignored))
        throw Failure(options.saveField + ": is there already; add --force to replace it");
}

bool wantsMesh(const LevelSetOptions& options) { return !options.output.empty() || !options.preview.empty(); }

bool wantsNormals(const LevelSetOptions& options)
{
    return !options.preview.empty() ||
           (options.normals && !options.output.empty() && formats::holdsNormals(options.output));
}

std::size_t stageCount(const LevelSetOptions& options)
{
    std::size_t count = options.others.empty() ? 2 : 3 + 3 * options.others.size();
    for (const bool isTaken :
         {options.reshapes() || options.redistance, wantsMesh(options) && options.fillCavities,
          wantsMesh(options), wantsNormals(options), !options.output.empty(), !options.saveField.empty(),
          !options.preview.empty()})
        count += isTaken ? 1 : 0;
    return count;
}

/// Throws Failure when no sample is inside a surface, or none outside.
void confirmSurface(const LevelSet& surface, const std::string& file)
{
    float low, high;
    surface.findMinMax(low, high);
    if (!(low < 0)) failEnclosesNothing(file);
    if (high < 0) throw Failure(file + ": its samples are all inside, so there is no surface");
}

/// Moves the surface outwards. Throws Failure when nothing is left of it.
void offset(LevelSet& surface, double by, const std::string& file)
{
    const double depth = offsetOutwards(surface, by);
    float low, high;
    surface.findMinMax(low, high);
    if (!(low < 0)) failNothingIsLeft(by, depth, file);
}

void reshape(LevelSet& surface, const LevelSetOptions& options, uint32 threads, Progress& progress)
{
    if (!options.isUnsigned) confirmSurface(surface, options.source());
    if (!options.reshapes() && !options.redistance) return;
    const StageScope stage(progress, "reshape");
    if (options.offset != 0) offset(surface, options.offset, options.source());
    if (options.shell && hollowOut(surface, *options.shell) <= *options.shell)
        noteNoCavity(options.source(), progress);
    if (options.redistance && (options.reshapes() || options.loadField.empty()))
        redistanceBand(surface, 3, threads, StageScope::poll);
    stopIfInterrupted();
}

/// The mesh of a run, and how many cavities were filled in it.
struct MadeMesh
{
    Mesh& mesh;
    uint32 filled = 0;
};

uint32 fillHollows(Mesh& mesh, Progress& progress)
{
    progress.begin("cavities");
    return fillCavities(mesh).cavities;
}

/// Room for a second grid, with the layer that closes the surface.
void confirmCapFits(const LevelSet& surface, const std::string& file)
{
    constexpr double bytesPerNode = 5;
    const auto& grid = surface.getField().getGrid();
    confirmFits((grid.sizeX + 2.0) * (grid.sizeY + 2.0) * (grid.sizeZ + 2.0), bytesPerNode,
                file + ": closed at the border of its grid");
}

/// Makes a closed, 2-manifold mesh of the surface.
void extract(const LevelSet& surface, Mesh& mesh, const LevelSetOptions& options, uint32 threads,
             Progress& progress)
{
    if (reachesBorder(surface))
    {
        progress.note(options.source() + ": its inside reaches the border of the grid and is closed there");
        confirmCapFits(surface, options.source());
    }
    extractClosed(surface, mesh, threads, StageScope::poll);
    stopIfInterrupted();
    if (mesh.isEmpty())
        throw Failure(options.source() + ": there is no surface at this spacing; try a smaller --spacing");
}

void draw(const Mesh& mesh, const LevelSetOptions& options, uint32 threads)
{
    PreviewOptions picture = options.picture;
    picture.threads = threads;
    savePng(renderMesh(mesh, viewOf(mesh.getBox(), picture), picture), options.preview);
}

std::string describe(const MadeMesh& made)
{
    const Mesh& mesh = made.mesh;
    PartCounts counts = countPartsAndCavities(mesh);
    if (made.filled > 0) counts.cavities = made.filled;
    return formatted("%u vertices, %u faces, %s, volume %.6g, ", mesh.getPosSize(), mesh.getFacesSize(),
                     computeEdgeTopology(mesh).isClosed() ? "closed" : "open", signedVolume(mesh)) +
           partText(counts) + (made.filled > 0 ? " filled" : "");
}

void printSummary(const LevelSetOptions& options, const std::string& source, const MadeMesh& made,
                  const Progress& progress, uint32 threads)
{
    std::fputs(source.c_str(), stdout);
    if (wantsMesh(options))
        std::printf("mesh       %s%s%s\n", describe(made).c_str(), options.output.empty() ? "" : " -> ",
                    options.output.c_str());
    if (!options.saveField.empty())
        std::printf("field      %s layout -> %s\n",
                    options.layout == formats::FieldLayout::Regular ? "regular" : "sparse",
                    options.saveField.c_str());
    if (!options.preview.empty()) std::printf("preview    -> %s\n", options.preview.c_str());
    printCosts(progress, threads);
}

/// Reshapes the surface of a field, extracts the mesh and saves the field, if they are wanted. Returns the
/// lines that tell from what.
std::string takeField(LevelSetSource& source, MadeMesh& made, const LevelSetOptions& options, uint32 threads,
                      Progress& progress)
{
    LevelSet& surface = source.surface;
    noteThinWalls(options, surface.getField().getGrid().largestSeparation, progress);
    reshape(surface, options, threads, progress);
    if (wantsMesh(options))
    {
        {
            const StageScope stage(progress, "surface");
            extract(surface, made.mesh, options, threads, progress);
        }
        if (options.fillCavities) made.filled = fillHollows(made.mesh, progress);
    }
    if (!options.saveField.empty())
    {
        progress.begin("save");
        formats::writeField(options.saveField, options.layout, surface);
    }
    return source.summary;
}

/// The distances of what was read, or of the field file.
LevelSetSource makeSource(const LevelSetInput& input, const LevelSetOptions& options, uint32 threads,
                          Progress& progress)
{
    return options.loadField.empty() ? sampleInput(input, options, threads, progress)
                                     : loadSource(options, threads, progress);
}

/// Makes the mesh, and the field file when it is wanted. Returns the lines that tell from what.
std::string makeSurface(MadeMesh& made, const LevelSetOptions& options, uint32 threads, Progress& progress)
{
    const LevelSetInput input = options.loadField.empty() ? readInput(options, progress) : LevelSetInput();
    if (options.loadField.empty() && goesByBlocks(input, options))
    {
        noteThinWalls(options, input.spacing, progress);
        const MadeByBlocks byBlocks = meshByBlocks(input, made.mesh, options, threads, progress);
        made.filled = byBlocks.filled;
        return input.summary + byBlocks.summary;
    }
    const bool isAlone = options.others.empty();
    LevelSetSource source =
        makeSource(input, isAlone ? options : withoutReshaping(options), threads, progress);
    if (!isAlone) combineWithOthers(source, options, threads, progress);
    return takeField(source, made, options, threads, progress);
}

std::string reshapeOne(const LevelSetOptions& options)
{
    confirmField(options);
    const uint32 threads = threadsFor(options.threads, options);
    Progress progress(stageCount(options), options.quiet, options.label, options.bar());
    ArrayOfPtr<Mesh> meshes;
    meshes.push_back(new Mesh);
    Mesh& mesh = *meshes[0];
    MadeMesh made{mesh};
    const std::string summary = makeSurface(made, options, threads, progress);
    mesh.setName("surface");
    if (wantsNormals(options))
    {
        progress.begin("normals");
        mesh.recalculateNormalsParallelized(threads);
    }
    else
        dropNormals(mesh);
    stopIfInterrupted();
    clipMeshes(meshes, options.clip, options.source(), progress);
    if (!options.preview.empty())
    {
        const StageScope stage(progress, "preview");
        draw(mesh, options, threads);
    }
    if (!options.output.empty())
    {
        progress.begin("write");
        finishAndWrite(meshes, options.finish, options.output, progress);
    }
    progress.end();
    if (options.isFrame)
        return formatted("%u faces ", mesh.getFacesSize()) +
               writtenText(filesOf(options), progress.totalSeconds());
    if (!options.quiet) printSummary(options, summary, made, progress, threads);
    return {};
}

/// Settles what the size of the first frame decides: spacing and radius.
std::string settleSizes(LevelSetOptions& options, const std::vector<LevelSetOptions>& frames)
{
    if (!options.loadField.empty() || (options.spacing && options.radius)) return {};
    const auto settled = ofFirstReadable(frames,
                                         [](const LevelSetOptions& frame)
                                         {
                                             Progress silent(1, true);
                                             const LevelSetInput input = readInput(frame, silent);
                                             LevelSetOptions sizes = frame;
                                             sizes.spacing = input.spacing;
                                             if (!input.isMesh()) sizes.radius = input.radius;
                                             return std::optional(sizes);
                                         });
    if (!settled) return {};
    options.spacing = settled->spacing;
    options.radius = settled->radius;
    std::string text = formatted("spacing    %.6g", *options.spacing);
    if (options.radius) text += formatted(", radius %.6g", *options.radius);
    text += "\n";
    if (!options.quiet) std::fputs(text.c_str(), stdout);
    return text;
}

}  // namespace

int runLevelSet(const LevelSetOptions& options) { return runFrameByFrame(options, settleSizes, reshapeOne); }

}  // namespace tavrix::tool
