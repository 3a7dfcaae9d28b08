#include "commands/Command.h"

#include <cstdio>
#include <memory>
#include <optional>

#include <tavrix/mesh/MeshSplitting.h>
#include <CLI/CLI.hpp>

#include "arguments/SharedArguments.h"
#include "arguments/Validators.h"
#include "commands/MeshClip.h"
#include "commands/MeshFinish.h"
#include "commands/MeshWeld.h"
#include "files/MeshNotes.h"
#include "formats/FileKind.h"
#include "formats/FileName.h"
#include "formats/MeshFile.h"
#include "run/Failure.h"
#include "run/Progress.h"
#include "run/Text.h"
#include "sequence/FrameByFrame.h"

namespace tavrix::tool
{

namespace
{

struct ConvertOptions : RunOptions
{
    std::string input, output;
    std::optional<double> weld;
    MeshClip clip;
    MeshFinish finish;
    uint32 leastFaces = 1;
    bool parts = false, strict = false;

    std::vector<std::string*> inputs() { return {&input}; }
    std::vector<std::string*> outputs() { return {&output}; }
};

/// Makes every part a mesh of its own, named after what it was part of.
void splitMeshes(formats::MeshFile& file, uint32 leastFaces, const std::string& path)
{
    ArrayOfPtr<Mesh> all;
    for (const Mesh* mesh : file.meshes)
    {
        const std::string name = mesh->getName().empty() ? "part" : mesh->getName().c_str();
        for (Mesh* part : splitParts(*mesh, leastFaces))
        {
            all.push_back(new Mesh(std::move(*part)));
            all.back()->setName((name + "_" + std::to_string(all.size())).c_str());
        }
    }
    if (all.empty()) throw Failure(path + ": no part has " + std::to_string(leastFaces) + " faces");
    file.meshes = std::move(all);
}

std::string convertOne(const ConvertOptions& options)
{
    Progress progress(2, options.quiet, options.label, options.bar());
    progress.begin("read");
    formats::MeshFile file = readMeshes(options.input, options.strict, progress, threadsFor(0, options));
    SheetSeparation separated;
    if (options.weld)
        separated =
            weldMeshes(file.meshes, {{*options.weld}}, formats::holdsNormals(options.output), options.input);
    else if (options.parts && formats::kindOfFile(options.input) == formats::FileKind::Stl)
        weldMeshes(file.meshes, {{0}, false}, false, options.input);
    if (options.parts) splitMeshes(file, options.leastFaces, options.input);
    clipMeshes(file.meshes, options.clip, options.input, progress);
    progress.begin("write");
    finishAndWrite(file.meshes, options.finish, options.output, progress);
    progress.end();
    if (options.isFrame)
        return formatted("%u faces ", countsOf(file.meshes).faces) +
               writtenText(filesOf(options), progress.totalSeconds());
    if (options.quiet) return {};
    tellSeparated(separated);
    tellWritten(options.output, file.meshes);
    return {};
}

}  // namespace

void addConvertCommand(CLI::App& app, Command& command)
{
    const auto options = std::make_shared<ConvertOptions>();
    CLI::App* convert = app.add_subcommand("convert", "Write a mesh file in another format");
    convert->add_option("IN", options->input, meshFileText())
        ->required()
        ->check(anyFile(formats::meshExtensions()))
        ->option_text(" ");
    convert
        ->add_option("OUT", options->output,
                     "Mesh file to write, whose extension (" + nameList(formats::writableExtensions(), ".") +
                         ") is the format; or a folder: the file is then named as the input")
        ->required()
        ->check(outputWithExtension(formats::writableExtensions(), true))
        ->option_text(" ");
    addFormat(*convert);
    convert
        ->add_option(
            "--weld", options->weld,
            "Join vertices that differ by less than this along every axis; 0 joins equal ones, such as "
            "the corners of STL triangles")
        ->check(weldTolerance)
        ->option_text("NUMBER");
    convert->add_flag("--parts", options->parts,
                      "Make every part, which shares no vertex with others, a group of its own");
    convert->add_option("--least-faces", options->leastFaces, "With --parts: leave out parts of fewer faces")
        ->check(wholeNumber(1, 4294967295))
        ->option_text("COUNT");
    addStrict(*convert, options->strict);
    addUp(*convert, options->finish.up);
    addClip(*convert, options->clip);
    addMeshFinish(*convert, options->finish);
    addQuiet(*convert, options->quiet);
    addSequence(*convert, options->sequence);
    convert->footer(
        "What the format can hold is carried over: OBJ holds groups, normals and texture\n"
        "coordinates, PLY, VTP and GLB normals, texture coordinates and whatever else vertices\n"
        "carry, BIN texture coordinates and velocities, STL triangles alone. All but OBJ and GLB\n"
        "get all groups in one mesh; in VTP the cells have the number of their part. STL\n"
        "triangles share no vertices, and converting them joins none without --weld, with which\n"
        "normals are made anew, and what else vertices carry is lost.\n\n"
        "Examples:\n"
        "  tavrix convert part.stl part.obj --weld 0\n"
        "  tavrix convert scan.glb scan.obj --digits exact\n"
        "  tavrix convert scan.ply clean.obj --parts --least-faces 100\n"
        "  tavrix convert water.obj water.stl --ascii");
    convert->callback(
        [convert, options, &command]
        {
            nameInFolder(*convert, options->input, options->output, options->folder);
            options->settings = settingsText(*convert);
            checkFrames(*convert, filesOf(*options));
            refuseFormatOptions(*convert, options->output);
            checkMeshFinish(*convert, options->output);
            checkClip(*convert, options->clip);
            refuse(*convert, "--least-faces", !options->parts, "is of --parts");
            options->quiet |= formats::isStandardOutput(options->output);
            command = {[options] { return runFrameByFrame(*options, settleNothing, convertOne); },
                       options->input, options->output};
        });
}

}  // namespace tavrix::tool
