#include "commands/Command.h"

#include <cstdio>
#include <memory>
#include <optional>

#include <CLI/CLI.hpp>

#include "arguments/SharedArguments.h"
#include "arguments/Validators.h"
#include "commands/MeshWeld.h"
#include "files/MeshNotes.h"
#include "formats/FileKind.h"
#include "formats/FileName.h"
#include "formats/MeshFile.h"

namespace tavrix::tool
{

namespace
{

struct Options
{
    std::string input, output;
    std::optional<double> weld;
    ObjNumbers numbers;
    bool ascii = false;
    bool strict = false;
    bool quiet = false;
};

/// Takes a number of decimals, or "exact".
void takeDecimals(const std::string& text, ObjNumbers& numbers)
{
    numbers.areShortest = text == "exact";
    const bool isCount = CLI::detail::lexical_cast(text, numbers.decimals);
    if (!numbers.areShortest && (!isCount || numbers.decimals < 0 || numbers.decimals > 17))
        throw CLI::ValidationError("--decimals", "must be a number from 0 to 17, or exact");
}

/// Tells when the decimals of an OBJ file are too few to keep vertices apart.
void tellMerged(const Options& options, const ArrayOfPtr<Mesh>& meshes)
{
    if (formats::extensionOf(options.output) != "obj") return;
    uint32 merged = 0;
    for (const Mesh* mesh : meshes) merged += countPositionsMerged(*mesh, options.numbers);
    if (merged > 0)
        std::fprintf(stderr,
                     "tavrix: %s: %u vertices are at the place of another with %d decimals; see --decimals\n",
                     options.output.c_str(), merged, options.numbers.decimals);
}

void runConvert(const Options& options)
{
    formats::MeshFile file = readMeshes(options.input, options.strict);
    SheetSeparation separated;
    if (options.weld)
        separated =
            weldMeshes(file.meshes, {{*options.weld}}, formats::holdsNormals(options.output), options.input);
    formats::writeMeshes(options.output, file.meshes, {options.ascii, options.numbers});
    if (options.quiet) return;
    tellLeftOut(options.input, file);
    tellMerged(options, file.meshes);
    tellSeparated(separated);
    tellWritten(options.output, file.meshes);
}

}  // namespace

void addConvertCommand(CLI::App& app, Command& command)
{
    const auto options = std::make_shared<Options>();
    CLI::App* convert = app.add_subcommand("convert", "Write a mesh file in another format");
    convert->add_option("IN", options->input, "Mesh file to read: " + meshFormatsText())
        ->required()
        ->option_text(" ");
    convert
        ->add_option("OUT", options->output,
                     "Mesh file to write; its extension is the format: " +
                         extensionText(formats::writableExtensions()))
        ->required()
        ->check(outputWithExtension(formats::writableExtensions()))
        ->option_text(" ");
    convert
        ->add_option(
            "--weld", options->weld,
            "Join vertices that differ by less than this along every axis; 0 joins equal ones, such as "
            "the corners of STL triangles")
        ->check(weldTolerance)
        ->option_text("NUMBER");
    addAscii(*convert, options->ascii);
    convert
        ->add_option_function<std::string>(
            "--decimals", [options](const std::string& text) { takeDecimals(text, options->numbers); },
            "Decimals of numbers in OBJ files, or 'exact': as many as each needs")
        ->option_text("COUNT|exact [6]");
    addStrict(*convert, options->strict);
    addQuiet(*convert, options->quiet);
    convert->footer(
        "What the format can hold is carried over: OBJ holds groups, normals and texture\n"
        "coordinates, PLY, VTP and GLB normals, texture coordinates and whatever else vertices\n"
        "carry, BIN texture coordinates and velocities, STL triangles alone. All but OBJ and GLB\n"
        "get all groups in one mesh; in VTP the cells have the number of their part. STL\n"
        "triangles share no vertices, and converting them joins none without --weld, with which\n"
        "normals are made anew, and what else vertices carry is lost.\n\n"
        "Examples:\n"
        "  tavrix convert part.stl part.obj --weld 0\n"
        "  tavrix convert water.obj water.stl --ascii\n"
        "  tavrix convert scan.glb scan.obj --decimals exact");
    convert->callback(
        [options, &command]
        {
            options->quiet |= formats::isStandardOutput(options->output);
            command = {[options] { return runConvert(*options), 0; }, options->input, options->output};
        });
}

}  // namespace tavrix::tool
