#include "ConvertCommand.h"

#include <cstdio>
#include <memory>

#include <CLI/CLI.hpp>

#include "MeshFile.h"
#include "Validators.h"

namespace tavrix::tool
{

namespace
{

struct Options
{
    std::string input, output;
    bool ascii = false;
    bool quiet = false;
};

void runConvert(const Options& options)
{
    const MeshFile file = readMeshes(options.input);
    writeMeshes(options.output, file.meshes, {options.ascii});
    if (options.quiet) return;
    if (file.leftOut > 0)
        std::fprintf(stderr, "tavrix: %s: %u faces name vertices that are not there and are left out\n",
                     options.input.c_str(), file.leftOut);
    uint32 vertices = 0, faces = 0;
    for (const Mesh* mesh : file.meshes)
    {
        vertices += mesh->getPosSize();
        faces += mesh->getFacesSize();
    }
    std::printf("mesh       %u vertices, %u faces -> %s\n", vertices, faces, options.output.c_str());
}

}  // namespace

void addConvertCommand(CLI::App& app, Command& command)
{
    const auto options = std::make_shared<Options>();
    CLI::App* convert = app.add_subcommand("convert", "Write a mesh file in another format");
    convert->add_option("IN", options->input, "Mesh file to read (.obj, .stl, .bin or .ase)")
        ->required()
        ->option_text(" ");
    convert
        ->add_option("OUT", options->output,
                     "Mesh file to write; its extension (.obj, .stl or .bin) is the format")
        ->required()
        ->check(outputWithExtension({"obj", "stl", "bin"}))
        ->option_text(" ");
    convert->add_flag("--ascii", options->ascii, "Write STL as text; binary when absent");
    convert->add_flag("-q,--quiet", options->quiet, "Print errors only");
    convert->footer(
        "What the format can hold is carried over: OBJ holds groups, normals and texture\n"
        "coordinates, BIN texture coordinates and velocities, STL triangles alone. BIN and\n"
        "STL get all groups in one mesh. STL triangles share no vertices, and converting\n"
        "them to OBJ or BIN joins none.\n\n"
        "Examples:\n"
        "  tavrix convert part.stl part.obj\n"
        "  tavrix convert water.obj water.stl --ascii");
    convert->callback(
        [options, &command]
        {
            options->quiet |= isStandardOutput(options->output);
            const auto run = [options]
            {
                runConvert(*options);
                return 0;
            };
            command = {run, options->input, options->output};
        });
}

}  // namespace tavrix::tool
