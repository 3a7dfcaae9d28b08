#include "commands/Command.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <memory>
#include <optional>

#include <CLI/CLI.hpp>

#include <tavrix/foundation/ElementaryFunctions.h>
#include <tavrix/meshproc/MeshTessellator.h>

#include "arguments/SharedArguments.h"
#include "arguments/Validators.h"
#include "commands/MeshChange.h"
#include "formats/MeshFile.h"
#include "run/Failure.h"

namespace tavrix::tool
{

namespace
{

struct SubdivideOptions : MeshChangeOptions
{
    std::optional<uint32> levels;
    std::optional<double> edge, sharp;
    bool onNet = false;
};

constexpr double bytesPerFace = 150;

void confirmDone(const TessellationReport& report, const SubdivideOptions& options)
{
    if (report.status == TessellationStatus::TooLarge)
        throw Failure(options.input + (options.edge
                                           ? ": would have more than 2^30 faces; give a longer --edge"
                                           : ": would have more than 2^30 faces; give fewer --levels"));
}

TessellationReport split(Mesh& mesh, const SubdivideOptions& options, uint32 threads)
{
    confirmSplittingFits(mesh, *options.edge, options.input);
    return MeshTessellator(threads, StageScope::poll).splitEdges(mesh, *options.edge);
}

TessellationReport smooth(Mesh& mesh, const SubdivideOptions& options, uint32 threads)
{
    SubdivisionSettings settings;
    settings.levels = *options.levels;
    if (options.sharp) settings.creaseAngle = *options.sharp * piValue / 180;
    settings.toLimit = !options.onNet;
    settings.makesNormals = formats::holdsNormals(options.output);
    confirmFacesFit(std::ldexp(mesh.getFacesSize(), 2 * static_cast<int>(settings.levels)), bytesPerFace,
                    options.input, "give fewer --levels");
    return MeshTessellator(threads, StageScope::poll).subdivide(mesh, settings);
}

std::string subdivideOne(const SubdivideOptions& options)
{
    uint32 creases = 0;
    return changeMeshes(
        options, "subdivide",
        [&](Mesh& mesh, uint32 threads)
        {
            const TessellationReport report =
                options.edge ? split(mesh, options, threads) : smooth(mesh, options, threads);
            confirmDone(report, options);
            creases += report.creaseEdges;
        },
        [&]
        {
            if (options.sharp) std::printf("creases    %u edges kept sharp\n", creases);
        });
}

}  // namespace

void addSubdivideCommand(CLI::App& app, Command& command)
{
    const auto options = std::make_shared<SubdivideOptions>();
    CLI::App* subdivide = app.add_subcommand("subdivide", "Make a mesh of more faces, smoother or the same");
    addMeshChangeFiles(*subdivide, *options);
    CLI::Option* const levels =
        subdivide
            ->add_option("--levels", options->levels,
                         "Make four faces of each so many times, towards a smooth surface (Loop's scheme)")
            ->check(wholeNumber(0, 14))
            ->option_text("COUNT");
    CLI::Option* const edge =
        subdivide
            ->add_option("--edge", options->edge,
                         "Instead, cut edges in half until none is longer; the surface stays what it is")
            ->check(positiveNumber)
            ->excludes(levels)
            ->option_text("LENGTH");
    subdivide
        ->add_option(
            "--sharp", options->sharp,
            "Keep edges sharp where faces meet at more than so many degrees, and corners where such an "
            "edge or a border turns by more")
        ->check(numberFrom(0, 180))
        ->excludes(edge)
        ->option_text("DEGREES");
    subdivide
        ->add_flag(
            "--net", options->onNet,
            "Leave the vertices on the net of the last level, not on the smooth surface that it tends to")
        ->excludes(edge);
    addMeshChangeOptions(*subdivide, *options);
    subdivide->footer(
        "\nWith --levels the vertices are controls, which the smooth surface is pulled towards, and\n"
        "normals become those of that surface. Borders become smooth curves, and so do edges that\n"
        "--sharp keeps. Texture coordinates and velocities are carried along, and seams stay closed.\n"
        "The corners of STL faces are joined before.\n\n"
        "Examples:\n"
        "  tavrix subdivide cage.obj -o smooth.obj --levels 3\n"
        "  tavrix subdivide part.stl -o part.obj --levels 2 --sharp 30\n"
        "  tavrix subdivide part.stl -o fine.stl --edge 0.5");
    subdivide->callback(
        [subdivide, options, &command]
        {
            checkMeshChange(*subdivide, *options);
            if (!options->levels && !options->edge)
                throw CLI::ValidationError("subdivide", "needs --levels or --edge");
            command = {[options] { return runFrameByFrame(*options, settleNothing, subdivideOne); },
                       options->input, options->output};
        });
}

}  // namespace tavrix::tool
