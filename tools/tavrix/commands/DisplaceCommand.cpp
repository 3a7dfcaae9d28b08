#include "commands/Command.h"

#include <algorithm>
#include <cstdio>
#include <memory>
#include <optional>

#include <CLI/CLI.hpp>

#include <tavrix/foundation/GradientNoise.h>
#include <tavrix/meshproc/MeshDisplacement.h>
#include <tavrix/meshproc/MeshTessellator.h>

#include "arguments/SharedArguments.h"
#include "arguments/Validators.h"
#include "commands/MeshChange.h"
#include "formats/PngHeights.h"
#include "formats/VertexStreams.h"
#include "run/Failure.h"
#include "run/Interrupt.h"

namespace tavrix::tool
{

namespace
{

struct DisplaceOptions : MeshChangeOptions
{
    double amount = 0, middle = 0;
    std::string picture;
    bool repeats = false;
    std::optional<double> noise, edge;
    uint32 octaves = 4, seed = 0;

    std::vector<std::string*> inputs() { return {&input, &picture}; }
};

void confirmTexture(const Mesh& mesh, const std::string& file)
{
    const auto attributes = formats::vertexAttributes(mesh);
    if (std::none_of(attributes.begin(), attributes.end(), formats::isTexture))
        throw Failure(file +
                      ": has no texture coordinates, by which a picture is laid over it; give them in "
                      "another program, or use --noise");
}

void splitEdges(Mesh& mesh, const DisplaceOptions& options, uint32 threads)
{
    confirmSplittingFits(mesh, *options.edge, options.input);
    MeshTessellator(threads, StageScope::poll).splitEdges(mesh, *options.edge);
    stopIfInterrupted();
}

void displace(Mesh& mesh, const DisplaceOptions& options, const HeightPicture& picture, uint32 threads)
{
    if (!options.noise) confirmTexture(mesh, options.input);
    if (options.edge) splitEdges(mesh, options, threads);
    const MeshDisplacement displacement(threads, StageScope::poll);
    if (!options.noise)
    {
        displacement.byPicture(mesh, picture, options.amount, options.middle);
        return;
    }
    const GradientNoise noise(options.seed);
    displacement.byFunction(mesh, [&](const Vector3D& p, const Vector3D&)
                            { return options.amount * noise.fractal(p / *options.noise, options.octaves); });
}

std::string displaceOne(const DisplaceOptions& options)
{
    HeightPicture picture;
    if (!options.noise) picture = formats::readPngHeights(options.picture);
    picture.repeats = options.repeats;
    return changeMeshes(
        options, "displace", [&](Mesh& mesh, uint32 threads) { displace(mesh, options, picture, threads); },
        [&]
        {
            if (!options.noise) std::printf("picture    %u x %u pixels\n", picture.width, picture.height);
        });
}

/// Rejects contradictory options.
void checkTogether(const CLI::App& displace, const DisplaceOptions& options)
{
    if (options.picture.empty() && !options.noise)
        throw CLI::ValidationError("displace", "needs --height or --noise");
    for (const char* name : {"--middle", "--repeat"})
        refuse(displace, name, options.picture.empty(), "needs --height");
    for (const char* name : {"--octaves", "--seed"}) refuse(displace, name, !options.noise, "needs --noise");
}

void addPicture(CLI::App& displace, DisplaceOptions& options)
{
    displace
        .add_option(
            "--height", options.picture,
            "PNG picture of heights, black 0 and white 1, laid over the mesh by its texture coordinates")
        ->check(anyFile({"png"}))
        ->option_text("FILE")
        ->group("Picture of heights");
    displace.add_option("--middle", options.middle, "The grey that moves nothing; darker goes inwards")
        ->check(numberFrom(0, 1))
        ->option_text("0 TO 1 [0]")
        ->group("Picture of heights");
    displace
        .add_flag("--repeat", options.repeats,
                  "Repeat the picture beyond its borders, where its outermost pixels go on otherwise")
        ->group("Picture of heights");
}

void addNoise(CLI::App& displace, DisplaceOptions& options)
{
    displace
        .add_option("--noise", options.noise, "Noise instead of a picture, with hills of about this size")
        ->check(positiveNumber)
        ->excludes("--height")
        ->option_text("LENGTH")
        ->group("Noise");
    displace
        .add_option("--octaves", options.octaves,
                    "So many sizes of hills, each half as large and half as high as the one before")
        ->check(wholeNumber(1, 32))
        ->option_text("COUNT [4]")
        ->group("Noise");
    displace.add_option("--seed", options.seed, "Another number gives other hills")
        ->check(wholeNumber(0, 0xFFFFFFFF))
        ->option_text("NUMBER [0]")
        ->group("Noise");
}

}  // namespace

void addDisplaceCommand(CLI::App& app, Command& command)
{
    const auto options = std::make_shared<DisplaceOptions>();
    CLI::App* displace =
        app.add_subcommand("displace", "Move a mesh along its normals by a picture of heights or by noise");
    addMeshChangeFiles(*displace, *options);
    displace
        ->add_option("-a,--amount", options->amount,
                     "How far a height of 1 moves a vertex along its normal; below 0 inwards")
        ->required()
        ->check(finiteNumber)
        ->option_text("LENGTH");
    displace
        ->add_option("--edge", options->edge,
                     "First cut edges in half until none is longer, so that the mesh can show what moves it")
        ->check(positiveNumber)
        ->option_text("LENGTH");
    addPicture(*displace, *options);
    addNoise(*displace, *options);
    addMeshChangeOptions(*displace, *options);
    displace->footer(
        "\nVertices at a seam of the texture move together, so that closed meshes stay closed.\n"
        "Normals are made anew, with the edges that they had.\n\n"
        "Examples:\n"
        "  tavrix displace tile.ply -o rough.ply --height bricks.png --amount 0.05 --middle 0.5\n"
        "  tavrix displace rock.obj -o rocky.obj --noise 0.5 --amount 0.1 --edge 0.02");
    displace->callback(
        [displace, options, &command]
        {
            checkMeshChange(*displace, *options);
            checkTogether(*displace, *options);
            command = {[options] { return runFrameByFrame(*options, settleNothing, displaceOne); },
                       options->input, options->output};
        });
}

}  // namespace tavrix::tool
