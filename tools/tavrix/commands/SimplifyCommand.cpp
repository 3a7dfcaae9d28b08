#include "commands/Command.h"

#include <algorithm>
#include <cstdio>
#include <memory>
#include <optional>

#include <CLI/CLI.hpp>

#include <tavrix/meshproc/MeshDecimation.h>

#include "arguments/SharedArguments.h"
#include "arguments/Validators.h"
#include "commands/MeshClip.h"
#include "commands/MeshFinish.h"
#include "commands/MeshWeld.h"
#include "commands/SmoothNormals.h"
#include "files/MeshNotes.h"
#include "formats/FileKind.h"
#include "formats/MeshFile.h"
#include "run/Interrupt.h"
#include "run/Progress.h"
#include "run/Text.h"
#include "sequence/FrameByFrame.h"

namespace tavrix::tool
{

namespace
{

struct SimplifyOptions : RunOptions
{
    std::string input, output;
    WeldOptions weld;
    DecimationSettings decimation;
    MeshClip clip;
    MeshFinish finish;
    bool strict = false;

    std::vector<std::string*> inputs() { return {&input}; }
    std::vector<std::string*> outputs() { return {&output}; }

    bool decimates() const { return decimation.faces || decimation.ratio || decimation.error; }
};

/// What decimating a file's meshes came to.
struct Outcome
{
    uint32 target = 0, faces = 0;
    double error = 0;
};

/// Decimates each mesh; of the faces asked for each gets its share.
Outcome decimateMeshes(ArrayOfPtr<Mesh>& meshes, const DecimationSettings& settings)
{
    const double all = countsOf(meshes).faces;
    Outcome outcome;
    for (Mesh* mesh : meshes)
    {
        DecimationSettings share = settings;
        const uint32 before = mesh->getFacesSize();
        if (settings.faces) share.faces = static_cast<uint32>(*settings.faces / all * before);
        const DecimationReport report = decimateMesh(*mesh, share, StageScope::poll);
        stopIfInterrupted();
        outcome.target += share.faces   ? std::min(*share.faces, before)
                          : share.ratio ? static_cast<uint32>(*share.ratio * before)
                                        : 0;
        outcome.faces += report.faces;
        outcome.error = std::max(outcome.error, report.error);
    }
    return outcome;
}

void tellOutcome(const Outcome& outcome, const DecimationSettings& settings)
{
    if (settings.error)
        std::printf("error      at most %.4g\n", outcome.error);
    else if (outcome.faces > outcome.target + 1)
        std::printf(
            "left       more than the %u faces asked for: no other edge can go without tearing or turning "
            "the surface\n",
            outcome.target);
}

std::string simplifyOne(const SimplifyOptions& options)
{
    Progress progress(3, options.quiet, options.label, options.bar());
    progress.begin("read");
    formats::MeshFile file = readMeshes(options.input, options.strict, progress,
                                        threadsFor(options.decimation.threadCount, options));
    const MeshCounts before = countsOf(file.meshes);
    WeldOptions weld = options.weld;
    // the faces of STL files share no corners
    if (weld.tolerances.empty() && formats::kindOfFile(options.input) == formats::FileKind::Stl)
        weld.tolerances = {0};
    SheetSeparation separated;
    std::optional<StageScope> stage(std::in_place, progress, "simplify");
    if (!weld.tolerances.empty()) separated = weldMeshes(file.meshes, weld, false, options.input);
    Outcome outcome;
    if (options.decimates())
    {
        DecimationSettings settings = options.decimation;
        settings.threadCount = threadsFor(settings.threadCount, options);
        outcome = decimateMeshes(file.meshes, settings);
    }
    if (formats::holdsNormals(options.output))
        for (Mesh* mesh : file.meshes) confirmSmoothNormals(*mesh);
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
    tellSeparated(separated);
    tellWritten(options.output, file.meshes);
    if (options.decimates()) tellOutcome(outcome, options.decimation);
    printCosts(progress, threadsFor(options.decimation.threadCount, options));
    return {};
}

void addWelding(CLI::App& simplify, WeldOptions& weld)
{
    simplify
        .add_option(
            "--tolerance", weld.tolerances,
            "Join vertices that differ by less than this along every axis, into their middle; 0 joins "
            "equal ones. Up to eight times: each joins what the one before left over")
        ->check(weldTolerance)
        ->expected(1)
        ->take_all()
        ->option_text("NUMBER")
        ->group("Near vertices");
    simplify
        .add_flag("--drop-thin", weld.dropThin,
                  "Drop faces whose height over their longest edge does not exceed the last tolerance")
        ->group("Near vertices");
}

void addDecimation(CLI::App& simplify, DecimationSettings& decimation)
{
    CLI::Option* const faces = simplify
                                   .add_option("--faces", decimation.faces,
                                               "Leave so many faces, those that say most about the shape")
                                   ->check(wholeNumber(0, 0xFFFFFFFF))
                                   ->option_text("COUNT")
                                   ->group("Decimation");
    simplify.add_option("--ratio", decimation.ratio, "Leave this part of the faces")
        ->check(partOfOne)
        ->excludes(faces)
        ->option_text("RATIO")
        ->group("Decimation");
    simplify
        .add_option(
            "--error", decimation.error,
            "Leave as few faces as this distance between the surfaces allows; with --faces or --ratio, "
            "stop there")
        ->check(weldTolerance)
        ->option_text("NUMBER")
        ->group("Decimation");
    addThreads(simplify, decimation.threadCount)->group("Decimation");
}

/// Rejects contradictory options.
void checkTogether(const CLI::App& simplify, const SimplifyOptions& options)
{
    checkFrames(simplify, filesOf(options));
    refuseFormatOptions(simplify, options.output);
    checkMeshFinish(simplify, options.output);
    checkClip(simplify, options.clip);

    if (options.weld.tolerances.empty() && !options.decimates())
        throw CLI::ValidationError("simplify", "needs --faces, --ratio, --error or --tolerance");
    if (options.weld.tolerances.size() > 8)
        throw CLI::ValidationError("--tolerance", "may be given eight times at most");
    if (options.weld.dropThin && options.weld.tolerances.empty())
        throw CLI::ValidationError("--drop-thin", "needs --tolerance");
}

}  // namespace

void addSimplifyCommand(CLI::App& app, Command& command)
{
    const auto options = std::make_shared<SimplifyOptions>();
    CLI::App* simplify = app.add_subcommand("simplify", "Make a mesh of fewer faces, or join near vertices");
    simplify->add_option("IN", options->input, meshFileText())
        ->required()
        ->check(anyFile(formats::meshExtensions()))
        ->option_text(" ");
    addMeshOutput(*simplify, options->output)->required();
    addDecimation(*simplify, options->decimation);
    addWelding(*simplify, options->weld);
    addStrict(*simplify, options->strict);
    addUp(*simplify, options->finish.up);
    addClip(*simplify, options->clip);
    addMeshFinish(*simplify, options->finish);
    addQuiet(*simplify, options->quiet);
    addSequence(*simplify, options->sequence);
    simplify->footer(
        "\nDecimation keeps borders, holes, parts and seams, turns no face over, and carries\n"
        "normals, texture coordinates and velocities along. The corners of STL faces are\n"
        "joined before.\n\n"
        "With --tolerance, which comes first when both are given, faces whose corners come\n"
        "together are dropped, and vertices without a face; texture coordinates and\n"
        "velocities are lost, and normals are made anew, with edges kept where faces meet\n"
        "at more than 40 degrees. Each group of an OBJ file is simplified by itself. Sheets\n"
        "that come together keep vertices of their own, and flaps that enclose nothing go, so\n"
        "closed meshes stay closed and manifold; --drop-thin leaves slits where a face goes.\n\n"
        "Examples:\n"
        "  tavrix simplify scan.obj -o small.obj --faces 50000\n"
        "  tavrix simplify part.stl -o light.stl --error 0.01\n"
        "  tavrix simplify scan.obj -o small.obj --tolerance 0.1 --tolerance 0.4 --drop-thin");
    simplify->callback(
        [simplify, options, &command]
        {
            nameInFolder(*simplify, options->input, options->output, options->folder);
            options->settings = settingsText(*simplify);
            checkTogether(*simplify, *options);
            options->quiet |= formats::isStandardOutput(options->output);
            command = {[options] { return runFrameByFrame(*options, settleNothing, simplifyOne); },
                       options->input, options->output};
        });
}

}  // namespace tavrix::tool
