#include "commands/Command.h"

#include <algorithm>
#include <cstdio>
#include <memory>

#include <CLI/CLI.hpp>

#include <tavrix/meshproc/HoleFilling.h>

#include "arguments/SharedArguments.h"
#include "arguments/Validators.h"
#include "commands/MeshChange.h"

namespace tavrix::tool
{

namespace
{

struct FillOptions : MeshChangeOptions
{
    uint32 mostEdges = 300;
};

std::string fillOne(const FillOptions& options)
{
    HoleFillingReport all;
    return changeMeshes(
        options, "fill",
        [&](Mesh& mesh, uint32)
        {
            const HoleFillingReport report = fillHoles(mesh, options.mostEdges, StageScope::poll);
            all.holesFilled += report.holesFilled;
            all.facesAdded += report.facesAdded;
            all.holesLeft += report.holesLeft;
            all.edgesOfLongest = std::max(all.edgesOfLongest, report.edgesOfLongest);
        },
        [&]
        {
            std::printf("holes      %u filled with %u faces\n", all.holesFilled, all.facesAdded);
            if (all.holesLeft > 0)
                std::printf("left       %u, the longest of %u edges (--edges sets a limit)\n", all.holesLeft,
                            all.edgesOfLongest);
        });
}

}  // namespace

void addFillCommand(CLI::App& app, Command& command)
{
    const auto options = std::make_shared<FillOptions>();
    CLI::App* fill = app.add_subcommand("fill", "Close the holes of a mesh");
    addMeshChangeFiles(*fill, *options);
    fill->add_option("--edges", options->mostEdges, "Leave holes with more edges around them open")
        ->check(wholeNumber(3, 5000))
        ->option_text("COUNT [300]");
    addMeshChangeOptions(*fill, *options);
    fill->footer(
        "\nEach hole gets the faces over its vertices that bend least. No vertex is added; tavrix remesh\n"
        "makes the faces even. A sheet has its outer border closed, too, where that has few edges.\n"
        "The corners of STL faces are joined before.\n\n"
        "Examples:\n"
        "  tavrix fill scan.ply -o closed.ply\n"
        "  tavrix fill scan.ply -o closed.ply --edges 50");
    fill->callback(
        [fill, options, &command]
        {
            checkMeshChange(*fill, *options);
            command = {[options] { return runFrameByFrame(*options, settleNothing, fillOne); },
                       options->input, options->output};
        });
}

}  // namespace tavrix::tool
