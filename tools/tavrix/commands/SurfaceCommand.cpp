#include "commands/Command.h"

#include <map>
#include <memory>

#include <CLI/CLI.hpp>

#include "arguments/SharedArguments.h"
#include "arguments/Validators.h"
#include "commands/MeshClip.h"
#include "commands/MeshFinish.h"
#include "commands/ParticleCrop.h"
#include "formats/FileKind.h"
#include "formats/FileName.h"
#include "formats/MeshFile.h"
#include "sequence/FrameSequence.h"
#include "surface/SurfaceArguments.h"

namespace tavrix::tool
{

namespace
{

const std::map<std::string, SurfaceQuality> qualityNames{{"normal", SurfaceQuality::Normal},
                                                         {"smooth", SurfaceQuality::Smooth}};
const std::map<std::string, SurfaceKernel> kernelNames{{"metaball", SurfaceKernel::Metaball},
                                                       {"distance", SurfaceKernel::Distance},
                                                       {"anisotropic", SurfaceKernel::Anisotropic}};

void addFiles(CLI::App& surface, SurfaceOptions& options)
{
    surface
        .add_option("IN", options.input,
                    particleFileText("; of a sequence, with {} for the frame's number: \"water_{}.bin\""))
        ->required()
        ->check(anyFile(formats::particleExtensions()))
        ->option_text(" ");
    addMeshOutput(surface, options.output)->required();
    addNormals(surface, options.surface.normals);
    addClip(surface, options.clip);
    addMeshFinish(surface, options.finish);
    addQuiet(surface, options.quiet);
}

void addParticles(CLI::App& surface, SurfaceOptions& options)
{
    surface
        .add_option(
            "-r,--radius", options.surface.radius,
            "Particle radius; half the particles' spacing when absent (in a sequence, the first frame's)")
        ->check(positiveNumber)
        ->option_text("NUMBER")
        ->group("Particles");
    surface
        .add_option(
            "--attribute", options.attributes,
            "Carry this attribute of the particles to the mesh, besides velocities; repeatable, or 'all'. "
            "For files that hold them: .ply, .vtp and .glb")
        ->allow_extra_args(false)
        ->option_text("NAME")
        ->group("Particles");
    addCrop(surface, options.crop);
    surface
        .add_option(
            "--particle-spacing", options.surface.particleSpacing,
            "Distance of particles that fill space, each of which holds its cube; two radii when absent")
        ->check(positiveNumber)
        ->option_text("NUMBER")
        ->group("Particles");
    surface
        .add_option("--min-neighbours", options.surface.leastNeighbours,
                    "Leave out stray particles: those with fewer others than this within two radii")
        ->check(wholeNumber(0, 1000))
        ->option_text("COUNT [0]")
        ->group("Particles");
}

void addSurface(CLI::App& surface, SurfaceOptions& options)
{
    surface
        .add_option_function<std::string>(
            "--quality",
            [&options](const std::string& name) { options.surface.quality = qualityNames.at(name); },
            "What matters more where nothing else is said: 'normal', or 'smooth' (evens out what is narrower "
            "than some five particles, and matches the volume; takes two to three times as long)")
        ->check(oneOf({"normal", "smooth"}))
        ->option_text("NAME [normal]")
        ->group("Surface");
    surface
        .add_option_function<std::string>(
            "-f,--field",
            [&options](const std::string& name) { options.surface.kernel = kernelNames.at(name); },
            "What the particles become: 'metaball' (a smooth sum), 'anisotropic' (ellipsoids, flat where the "
            "liquid is flat; takes a few times longer) or 'distance' (balls of the radius, with the gaps "
            "between them)")
        ->check(oneOf({"metaball", "anisotropic", "distance"}))
        ->option_text("NAME [metaball]")
        ->group("Surface");
    surface
        .add_option(
            "--influence", options.surface.influence,
            "How far metaballs and anisotropic kernels reach: 0 (1.2 radii) to 100 (5 radii); more is "
            "smoother. 60, and 80 for smooth quality and anisotropic kernels, when absent")
        ->check(numberFrom(0, 100))
        ->option_text("NUMBER")
        ->group("Surface");
    CLI::Option* level =
        surface
            .add_option_function<double>(
                "-l,--level",
                [&options](double value)
                {
                    options.surface.level = value;
                    options.surface.matchVolume = false;
                },
                "Field value of the surface, as a factor of the one at which it encloses the "
                "particles' volume (for distance: at which balls have the radius); more is tighter")
            ->check(finiteNumber)
            ->option_text("NUMBER [1]")
            ->group("Surface");
    surface
        .add_flag_callback(
            "--match-volume", [&options] { options.surface.matchVolume = true; },
            "Choose the level such that the surface encloses just the particles' volume; so does smooth "
            "quality unless a level is given")
        ->excludes(level)
        ->option_text(" ")
        ->group("Surface");
    surface.add_option("-s,--spacing", options.surface.spacing, "Grid spacing; half the radius when absent")
        ->check(positiveNumber)
        ->option_text("NUMBER")
        ->group("Surface");
    surface
        .add_option(
            "--smooth", options.surface.smoothing,
            "Smooth by so many passes, which keep the volume and the drops; on a spacing half as wide "
            "the same takes four times as many. When absent, as many as take the particles' grain "
            "off; 0 for distance")
        ->check(wholeNumber(0, 10000))
        ->option_text("COUNT")
        ->group("Surface");
    surface
        .add_option(
            "--simplify", options.surface.weldTolerance,
            "Join vertices that differ by less than this along every axis, at the end; a fraction of the "
            "spacing makes slightly smaller meshes without thin faces")
        ->check(weldTolerance)
        ->option_text("NUMBER")
        ->group("Surface");
    surface
        .add_option("--decimate", options.surface.decimation,
                    "Leave this part of the faces, large ones where the surface is flat; 0.1 looks much the "
                    "same")
        ->check(partOfOne)
        ->option_text("RATIO")
        ->group("Surface");
    surface
        .add_flag_callback(
            "--no-clean", [&options] { options.surface.cleanUp = false; },
            "Keep coincident vertices and the thin faces between them")
        ->group("Surface");
    addFillCavities(surface, options.surface.fillCavities)->group("Surface");
    addThreads(surface, options.surface.threadCount)->group("Surface");
    surface
        .add_option("--memory", options.surface.memory,
                    "Memory that the program may take, as in 2G or 800M; told before the work is done "
                    "when it would take more. What the machine has left when absent")
        ->transform(memorySize)
        ->option_text("SIZE")
        ->group("Surface");
}

void addPicture(CLI::App& surface, SurfaceOptions& options)
{
    addPreview(surface, options.preview);
    surface.add_flag("--preview-particles", options.previewParticles, "Draw the particles beside the mesh")
        ->group("Picture");
    addPictureArguments(surface, "--preview-size", options.picture);
}

/// Rejects options that contradict each other or have no effect.
void checkTogether(const CLI::App& surface, const SurfaceOptions& options)
{
    checkFrames(surface, filesOf(options));
    refusePictureOptions(surface, !options.preview.empty());
    refuseFormatOptions(surface, options.output);
    checkMeshFinish(surface, options.output);
    checkClip(surface, options.clip);
    refuse(surface, "--attribute", !formats::holdsAttributes(options.output),
           "has no effect on " + options.output + ", whose format holds none; .ply, .vtp and .glb do");
    const bool areBalls = options.surface.kernel == SurfaceKernel::Distance;
    refuse(surface, "--influence", areBalls,
           "has no effect on --field distance, whose balls have the radius");
}

}  // namespace

void addSurfaceSettings(CLI::App& command, SurfaceOptions& options)
{
    addParticles(command, options);
    addSurface(command, options);
}

CLI::App* addSurfaceCommand(CLI::App& app, Command& command,
                            const std::function<int(const SurfaceOptions&)>& run)
{
    const auto options = std::make_shared<SurfaceOptions>();
    CLI::App* surface = app.add_subcommand("surface", "Turn particle files into surface meshes");
    addFiles(*surface, *options);
    addSurfaceSettings(*surface, *options);
    addSequence(*surface, options->sequence);
    addPicture(*surface, *options);
    surface->footer(
        "\nExamples:\n"
        "  tavrix surface water.bin -o water.obj\n"
        "  tavrix surface water.bin -o water.stl --quality smooth --preview water.png\n"
        "  tavrix surface \"water_{}.bin\" -o \"mesh_{}.bin\" --first 100 --last 200 --min-neighbours 2");
    surface->callback(
        [surface, options, &command, run]
        {
            nameInFolder(*surface, options->input, options->output, options->folder);
            options->settings = settingsText(*surface);
            options->finish.up = options->picture.up;
            checkTogether(*surface, *options);
            options->quiet |= formats::isStandardOutput(options->output);
            command = {[options, run] { return run(*options); }, options->input, options->output,
                       "try a larger --spacing"};
        });
    return surface;
}

}  // namespace tavrix::tool
