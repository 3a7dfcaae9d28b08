#include "commands/MeshChange.h"

#include <array>
#include <cstdio>
#include <optional>

#include <CLI/CLI.hpp>

#include <tavrix/meshproc/MeshTessellator.h>

#include "arguments/SharedArguments.h"
#include "arguments/Validators.h"
#include "commands/GridMemory.h"
#include "commands/MeshWeld.h"
#include "commands/SmoothNormals.h"
#include "files/MeshNotes.h"
#include "formats/FileKind.h"
#include "formats/MeshFile.h"
#include "run/Interrupt.h"
#include "run/Progress.h"
#include "run/Text.h"

namespace tavrix::tool
{

void addMeshChangeFiles(CLI::App& command, MeshChangeOptions& options)
{
    command.add_option("IN", options.input, meshFileText())
        ->required()
        ->check(anyFile(formats::meshExtensions()))
        ->option_text(" ");
    addMeshOutput(command, options.output)->required();
}

void addMeshChangeOptions(CLI::App& command, MeshChangeOptions& options)
{
    addThreads(command, options.threads);
    addStrict(command, options.strict);
    addUp(command, options.finish.up);
    addClip(command, options.clip);
    addMeshFinish(command, options.finish);
    addQuiet(command, options.quiet);
    addSequence(command, options.sequence);
}

void checkMeshChange(const CLI::App& command, MeshChangeOptions& options)
{
    nameInFolder(command, options.input, options.output, options.folder);
    options.settings = settingsText(command);
    checkFrames(command, filesOf(options));
    refuseFormatOptions(command, options.output);
    checkMeshFinish(command, options.output);
    checkClip(command, options.clip);
    options.quiet |= formats::isStandardOutput(options.output);
}

std::string changeMeshes(const MeshChangeOptions& options, const std::string& stageName,
                         const std::function<void(Mesh& mesh, uint32 threads)>& change,
                         const std::function<void()>& tell)
{
    const uint32 threads = threadsFor(options.threads, options);
    Progress progress(3, options.quiet, options.label, options.bar());
    progress.begin("read");
    formats::MeshFile file = readMeshes(options.input, options.strict, progress, threads);
    const MeshCounts before = countsOf(file.meshes);
    std::optional<StageScope> stage(std::in_place, progress, stageName);
    if (formats::kindOfFile(options.input) == formats::FileKind::Stl)
        weldMeshes(file.meshes, {{0}, false}, false, options.input);
    for (Mesh* mesh : file.meshes)
    {
        change(*mesh, threads);
        stopIfInterrupted();
        if (formats::holdsNormals(options.output)) confirmSmoothNormals(*mesh);
    }
    stage.reset();
    clipMeshes(file.meshes, options.clip, options.input, progress);
    progress.begin("write");
    finishAndWrite(file.meshes, options.finish, options.output, progress);
    progress.end();
    if (options.isFrame)
        return formatted("%u faces ", countsOf(file.meshes).faces) +
               writtenText(filesOf(options), progress.totalSeconds());
    if (options.quiet) return {};
    std::printf("input      %u vertices, %u faces\n", before.vertices, before.faces);
    tellWritten(options.output, file.meshes);
    tell();
    printCosts(progress, threads);
    return {};
}

void confirmSplittingFits(const Mesh& mesh, double longest, const std::string& file)
{
    const double least = MeshTessellator::leastFaces(mesh, longest);
    if (least > MeshTessellator::mostFaces)
        throw Failure(file + ": would have more than 2^30 faces; give a longer --edge");
    confirmFacesFit(3 * least, 150, file, "give a longer --edge");
}

void confirmFacesFit(double faces, double bytesPerFace, const std::string& file, const std::string& cure)
{
    const double bytes = faces * bytesPerFace;
    if (bytes <= static_cast<double>(availableMemory())) return;
    throw Failure(
        file +
        formatted(": work on some %.3g faces takes %.3g GiB, more than fits; ", faces, bytes / (1 << 30)) +
        cure);
}

}  // namespace tavrix::tool
