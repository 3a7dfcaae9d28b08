#include "commands/Command.h"

#include <algorithm>
#include <cstdio>
#include <memory>
#include <optional>

#include <CLI/CLI.hpp>

#include <tavrix/foundation/ElementaryFunctions.h>
#include <tavrix/spatial/MeshRemeshing.h>

#include "arguments/SharedArguments.h"
#include "arguments/Validators.h"
#include "commands/MeshChange.h"
#include "run/Failure.h"

namespace tavrix::tool
{

namespace
{

struct RemeshOptions : MeshChangeOptions
{
    RemeshingSettings remeshing;
    double sharp = 40;
};

std::string remeshOne(const RemeshOptions& options)
{
    double distance = 0;
    return changeMeshes(
        options, "remesh",
        [&](Mesh& mesh, uint32 threads)
        {
            RemeshingSettings settings = options.remeshing;
            settings.sharpAngle = options.sharp * piValue / 180;
            settings.threadCount = threads;
            confirmSplittingFits(mesh, settings.edge * 4 / 3, options.input);
            const RemeshingReport report = remeshIsotropically(mesh, settings, StageScope::poll);
            if (report.status == RemeshingStatus::TooLarge)
                throw Failure(options.input + ": would have too many faces; give a longer --edge");
            distance = std::max(distance, report.distance);
        },
        [&] { std::printf("distance   faces' middles at most %.4g from the given surface\n", distance); });
}

}  // namespace

void addRemeshCommand(CLI::App& app, Command& command)
{
    const auto options = std::make_shared<RemeshOptions>();
    CLI::App* remesh = app.add_subcommand("remesh", "Give a mesh even faces with edges of about one length");
    addMeshChangeFiles(*remesh, *options);
    remesh->add_option("--edge", options->remeshing.edge, "How long edges are to be, within a third or so")
        ->required()
        ->check(positiveNumber)
        ->option_text("LENGTH");
    remesh
        ->add_option(
            "--sharp", options->sharp,
            "Keep edges where faces meet at more than so many degrees, and vertices where such an edge "
            "or a border turns by more")
        ->check(numberFrom(0, 180))
        ->option_text("DEGREES [40]");
    remesh
        ->add_option("--rounds", options->remeshing.rounds,
                     "How often to go over it; more makes faces evener")
        ->check(wholeNumber(1, 1000))
        ->option_text("COUNT [8]");
    addMeshChangeOptions(*remesh, *options);
    remesh->footer(
        "\nThe vertices lie on the given surface. Sharp edges, borders, parts and handles stay; what bends\n"
        "within less than an edge's length does not. Texture coordinates, velocities and the like are\n"
        "lost. The corners of STL faces are joined before.\n\n"
        "Examples:\n"
        "  tavrix remesh scan.obj -o even.obj --edge 0.01\n"
        "  tavrix remesh part.stl -o part.obj --edge 0.5 --sharp 30");
    remesh->callback(
        [remesh, options, &command]
        {
            checkMeshChange(*remesh, *options);
            command = {[options] { return runFrameByFrame(*options, settleNothing, remeshOne); },
                       options->input, options->output};
        });
}

}  // namespace tavrix::tool
