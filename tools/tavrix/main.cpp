// The tavrix program: particle files in, surface meshes out. Exit status 0 done, 1 failed, 2 wrong usage.

#include <algorithm>
#include <cstdio>
#include <new>
#include <string>

#include <CLI/CLI.hpp>

#include "Arguments.h"
#include "Failure.h"
#include "Interrupt.h"
#include "SurfaceCommand.h"

namespace
{

using namespace tavrix::tool;

constexpr int failed = 1, wrongUsage = 2;

const auto positiveNumber = CLI::Validator(
    [](std::string& text) -> std::string
    {
        double value = 0;
        const bool isNumber = CLI::detail::lexical_cast(text, value);
        if (!isNumber || !(value > 0)) return "must be a number above 0";
        return value > 1e-30 && value < 1e30 ? "" : "must lie between 1e-30 and 1e30";
    },
    "NUMBER > 0");

const auto finiteNumber = CLI::Validator(
    [](std::string& text) -> std::string
    {
        double value = 0;
        const bool finite = CLI::detail::lexical_cast(text, value) && value > -1e30 && value < 1e30;
        return finite ? "" : "must be a finite number";
    },
    "NUMBER");

void addSurfaceCommand(CLI::App& app, SurfaceOptions& options)
{
    CLI::App* surface = app.add_subcommand("surface", "Turn a particle file into a surface mesh");
    surface->add_option("IN", options.input, "Particle file (.bin)")->required()->option_text(" ");
    surface->add_option("-o,--output", options.output, "Mesh file to write (.obj), needed")
        ->required()
        ->option_text("OUT");
    surface
        ->add_option("-r,--radius", options.radius,
                     "Particle radius; half the particles' spacing when absent")
        ->check(positiveNumber)
        ->option_text("NUMBER");
    surface->add_option("-s,--spacing", options.spacing, "Grid spacing; half the radius when absent")
        ->check(positiveNumber)
        ->option_text("NUMBER");
    surface
        ->add_option_function<std::string>(
            "-f,--field",
            [&options](const std::string& name)
            { options.field = name == "distance" ? FieldKind::Distance : FieldKind::Metaball; },
            "What the particles become: 'metaball' (a smooth sum) or 'distance' (the union of soft balls)")
        ->check(CLI::IsMember({"distance", "metaball"}))
        ->option_text("NAME [metaball]");
    surface
        ->add_option("--influence", options.influence,
                     "How far metaballs reach: 0 (1.2 radii) to 100 (5 radii); more is smoother")
        ->check(CLI::Range(0.0, 100.0))
        ->option_text("NUMBER [60]");
    surface
        ->add_option(
            "-l,--level", options.level,
            "Field value of the surface; higher is tighter. 1 for metaballs,\n0.05 for distance when absent")
        ->check(finiteNumber)
        ->option_text("NUMBER");
    surface->add_option("-t,--threads", options.threads, "Worker threads; all processors when absent")
        ->check(CLI::Range(1, 1024))
        ->option_text("COUNT");
    surface->add_flag_callback(
        "--no-clean", [&options] { options.clean = false; },
        "Keep coincident vertices and the thin faces between them");
    surface->add_flag("-q,--quiet", options.quiet, "Print errors only");
    surface->callback(
        [&options]
        {
            const std::string extension =
                options.output.substr(std::min(options.output.rfind('.'), options.output.size()));
            if (extension != ".obj" && extension != ".OBJ" && options.output.rfind("/dev/", 0) != 0)
                throw CLI::ValidationError("--output", "the name must end in .obj: " + options.output);
        });
}

int run(const SurfaceOptions& options)
{
    try
    {
        runSurface(options);
        if (std::fflush(stdout) == 0) return 0;
        std::fprintf(stderr, "tavrix: %s is written, but the summary cannot be; try --quiet\n",
                     options.output.c_str());
    }
    catch (const Failure& failure)
    {
        std::fprintf(stderr, "tavrix: %s\n", failure.what());
    }
    catch (const std::bad_alloc&)
    {
        std::fprintf(stderr, "tavrix: %s: not enough memory; try a larger --spacing\n",
                     options.input.c_str());
    }
    catch (const std::exception& error)
    {
        std::fprintf(stderr, "tavrix: %s: %s\n", options.input.c_str(), error.what());
    }
    return failed;
}

}  // namespace

int main(int argc, char** argv)
{
    CLI::App app{"Particles become fields, fields become surfaces, surfaces become meshes.", "tavrix"};
    app.allow_windows_style_options(false);  // what begins with a slash is a path
    app.require_subcommand(1);
    app.set_version_flag("--version", "tavrix " TAVRIX_VERSION);
    app.failure_message([](const CLI::App*, const CLI::Error& error)
                        { return "tavrix: " + std::string(error.what()) + "; see tavrix surface --help\n"; });
    SurfaceOptions options;
    addSurfaceCommand(app, options);

    std::vector<std::string> arguments = utf8Arguments(argc, argv);
    std::reverse(arguments.begin(), arguments.end());
    try
    {
        app.parse(arguments);
    }
    catch (const CLI::ParseError& error)
    {
        return app.exit(error) == 0 ? 0 : wrongUsage;
    }
    installInterruptHandler();
    return run(options);
}
