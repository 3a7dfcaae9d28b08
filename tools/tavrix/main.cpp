// The tavrix program: particles become surface meshes, and meshes pictures and other files. Exit status 0
// done, 1 failed, 2 wrong usage.

#include <algorithm>
#include <cstdio>
#include <new>
#include <string>

#include <CLI/CLI.hpp>

#include "Arguments.h"
#include "Command.h"
#include "ConvertCommand.h"
#include "Failure.h"
#include "InfoCommand.h"
#include "Interrupt.h"
#include "PreviewCommand.h"
#include "SurfaceCommand.h"
#include "Validators.h"

namespace
{

using namespace tavrix::tool;

constexpr int failed = 1, wrongUsage = 2;

void addSurfaceCommand(CLI::App& app, Command& command, SurfaceOptions& options)
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
        [&command, &options]
        {
            const std::string extension =
                options.output.substr(std::min(options.output.rfind('.'), options.output.size()));
            if (extension != ".obj" && extension != ".OBJ" && options.output.rfind("/dev/", 0) != 0)
                throw CLI::ValidationError("--output", "the name must end in .obj: " + options.output);
            const auto run = [&options]
            {
                runSurface(options);
                return 0;
            };
            command = {run, options.input, options.output, "try a larger --spacing"};
        });
}

std::string usageMessage(const CLI::App* app, const CLI::Error& error)
{
    const std::vector<CLI::App*> chosen = app->get_subcommands();
    const std::string command = chosen.empty() ? "" : " " + chosen.front()->get_name();
    return "tavrix: " + std::string(error.what()) + "; see tavrix" + command + " --help\n";
}

int run(const Command& command)
{
    try
    {
        const int status = command.run();
        if (std::fflush(stdout) == 0) return status;
        if (command.output.empty())
            std::fprintf(stderr, "tavrix: standard output cannot be written; is the disk full?\n");
        else
            std::fprintf(stderr, "tavrix: %s is written, but the summary cannot be; try --quiet\n",
                         command.output.c_str());
    }
    catch (const Failure& failure)
    {
        std::fprintf(stderr, "tavrix: %s\n", failure.what());
    }
    catch (const std::bad_alloc&)
    {
        std::fprintf(stderr, "tavrix: %s: not enough memory; %s\n", command.input.c_str(),
                     command.memoryHint.c_str());
    }
    catch (const std::exception& error)
    {
        std::fprintf(stderr, "tavrix: %s: %s\n", command.input.c_str(), error.what());
    }
    return failed;
}

}  // namespace

int main(int argc, char** argv)
{
    CLI::App app{"Particles become fields, fields become surfaces, surfaces become meshes.", "tavrix"};
    app.allow_windows_style_options(false);  // what begins with a slash is a path
    app.require_subcommand(1);
    app.get_formatter()->column_width(32);
    app.set_version_flag("--version", "tavrix " TAVRIX_VERSION);
    app.failure_message(usageMessage);
    app.footer(
        "\nFrom particles to a picture:\n"
        "  tavrix info water.bin                    what the file holds\n"
        "  tavrix surface water.bin -o water.obj    particles become a surface\n"
        "  tavrix preview water.obj -o water.png    the surface becomes a picture\n"
        "  tavrix convert water.obj water.stl       or a file for another program\n\n"
        "tavrix COMMAND --help tells more about each.");
    Command command;
    SurfaceOptions options;
    addSurfaceCommand(app, command, options);
    addPreviewCommand(app, command);
    addConvertCommand(app, command);
    addInfoCommand(app, command);

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
    return run(command);
}
