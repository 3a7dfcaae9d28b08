#include "commands/Command.h"

#include <memory>
#include <optional>

#include <CLI/CLI.hpp>

#include "arguments/SharedArguments.h"
#include "arguments/Validators.h"
#include "commands/MeshWeld.h"
#include "files/MeshNotes.h"
#include "formats/MeshFile.h"

namespace tavrix::tool
{

namespace
{

struct Options
{
    std::string input, output;
    std::optional<double> weld;
    bool ascii = false;
    bool quiet = false;
};

void runConvert(const Options& options)
{
    formats::MeshFile file = formats::readMeshes(options.input);
    SheetSeparation separated;
    if (options.weld)
        separated =
            weldMeshes(file.meshes, {{*options.weld}}, formats::holdsNormals(options.output), options.input);
    formats::writeMeshes(options.output, file.meshes, {options.ascii});
    if (options.quiet) return;
    tellLeftOut(options.input, file);
    tellSeparated(separated);
    tellWritten(options.output, file.meshes);
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
    convert
        ->add_option(
            "--weld", options->weld,
            "Join vertices that differ by less than this along every axis; 0 joins equal ones, such as "
            "the corners of STL triangles")
        ->check(weldTolerance)
        ->option_text("NUMBER");
    addAscii(*convert, options->ascii);
    addQuiet(*convert, options->quiet);
    convert->footer(
        "What the format can hold is carried over: OBJ holds groups, normals and texture\n"
        "coordinates, BIN texture coordinates and velocities, STL triangles alone. BIN and\n"
        "STL get all groups in one mesh. STL triangles share no vertices, and converting\n"
        "them to OBJ or BIN joins none without --weld, with which normals are made anew, and\n"
        "texture coordinates and velocities are lost.\n\n"
        "Examples:\n"
        "  tavrix convert part.stl part.obj --weld 0\n"
        "  tavrix convert water.obj water.stl --ascii");
    convert->callback(
        [options, &command]
        {
            options->quiet |= formats::isStandardOutput(options->output);
            command = {[options] { return runConvert(*options), 0; }, options->input, options->output};
        });
}

}  // namespace tavrix::tool
