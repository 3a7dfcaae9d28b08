#include "commands/Command.h"

#include <cstdio>
#include <memory>

#include <CLI/CLI.hpp>

#include "arguments/SharedArguments.h"
#include "arguments/Validators.h"
#include "commands/MeshWeld.h"
#include "files/MeshFile.h"
#include "files/OutputFile.h"
#include "run/Progress.h"

namespace tavrix::tool
{

namespace
{

struct Options
{
    std::string input, output;
    WeldOptions weld;
    bool ascii = false;
    bool quiet = false;
};

void runSimplify(const Options& options)
{
    confirmFolder(options.output);
    Progress progress(3, options.quiet);
    progress.begin("read");
    MeshFile file = readMeshes(options.input);
    const MeshCounts before = countsOf(file.meshes);
    progress.begin("simplify");
    const SheetSeparation separated =
        weldMeshes(file.meshes, options.weld, holdsNormals(options.output), options.input);
    progress.begin("write");
    writeMeshes(options.output, file.meshes, {options.ascii});
    progress.end();
    if (options.quiet) return;
    tellLeftOut(options.input, file);
    std::printf("input      %u vertices, %u faces\n", before.vertices, before.faces);
    tellSeparated(separated);
    tellWritten(options.output, file.meshes);
    printCosts(progress, 1);
}

}  // namespace

void addSimplifyCommand(CLI::App& app, Command& command)
{
    const auto options = std::make_shared<Options>();
    CLI::App* simplify =
        app.add_subcommand("simplify", "Join the vertices of a mesh that lie near each other");
    simplify->add_option("IN", options->input, "Mesh file to read (.obj, .stl, .bin or .ase)")
        ->required()
        ->option_text(" ");
    addMeshOutput(*simplify, options->output, "Mesh file to write, needed: .obj, .stl or .bin")->required();
    simplify
        ->add_option(
            "--tolerance", options->weld.tolerances,
            "Join vertices that differ by less than this along every axis, into their middle; 0 joins "
            "equal ones. Up to eight times: each joins what the one before left over")
        ->required()
        ->check(weldTolerance)
        ->expected(1)
        ->take_all()
        ->option_text("NUMBER");
    simplify->add_flag("--drop-thin", options->weld.dropThin,
                       "Drop faces whose height over their longest edge does not exceed the last tolerance");
    addAscii(*simplify, options->ascii);
    addQuiet(*simplify, options->quiet);
    simplify->footer(
        "\nFaces whose corners come together are dropped, and vertices without a face. Normals\n"
        "are made anew, with edges kept where faces meet at more than 40 degrees. Texture\n"
        "coordinates and velocities are lost. Each group of an OBJ file is simplified by itself.\n"
        "Sheets that come together keep vertices of their own, and flaps that enclose nothing\n"
        "go, so closed meshes stay closed and manifold; --drop-thin leaves slits where a face\n"
        "goes.\n\n"
        "Examples:\n"
        "  tavrix simplify part.stl -o part.obj --tolerance 0\n"
        "  tavrix simplify scan.obj -o small.obj --tolerance 0.1 --tolerance 0.4 --drop-thin");
    simplify->callback(
        [options, &command]
        {
            if (options->weld.tolerances.size() > 8)
                throw CLI::ValidationError("--tolerance", "may be given eight times at most");
            options->quiet |= isStandardOutput(options->output);
            command = {[options] { return runSimplify(*options), 0; }, options->input, options->output};
        });
}

}  // namespace tavrix::tool
