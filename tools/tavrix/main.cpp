// The tavrix program: particles become surface meshes, and meshes other shapes, pictures and files. Exit
// status 0 done, 1 failed, 2 wrong usage.

#include <algorithm>
#include <cstdio>
#include <memory>
#include <new>
#include <string>

#include <CLI/CLI.hpp>

#include "arguments/Arguments.h"
#include "arguments/HelpFormatter.h"
#include "commands/Command.h"
#include "formats/ImportLibrary.h"
#include "run/Failure.h"
#include "run/Interrupt.h"

namespace
{

using namespace tavrix::tool;

constexpr int failed = 1, wrongUsage = 2;

std::string usageMessage(const CLI::App* app, const CLI::Error& error)
{
    const std::vector<CLI::App*> chosen = app->get_subcommands();
    const std::vector<std::string> unknown = app->remaining();
    if (chosen.empty() && !unknown.empty())
        return "tavrix: there is no command or option " + unknown.front() + "; see tavrix --help\n";
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

// NOLINTNEXTLINE(bugprone-exception-escape): before run(), which catches all, nothing fails but memory
int main(int argc, char** argv)
{
    CLI::App app{"Particles become fields, fields become surfaces, surfaces become meshes.", "tavrix"};
    app.allow_windows_style_options(false);  // what begins with a slash is a path
    app.require_subcommand(1);
    app.get_formatter()->column_width(32);
    const std::string library = tavrix::formats::importLibrary();
    app.set_version_flag(
        "--version",
        "tavrix " TAVRIX_VERSION + (library.empty() ? "" : "\nreads further mesh formats with " + library));
    app.formatter(std::make_shared<HelpFormatter>());
    app.failure_message(usageMessage);
    app.footer(
        "\nFrom particles to a picture:\n"
        "  tavrix info water.bin                    what the file holds\n"
        "  tavrix surface water.bin -o water.obj    particles become a surface\n"
        "  tavrix preview water.obj -o water.png    the surface becomes a picture\n"
        "  tavrix convert water.obj water.stl       or a file for another program\n\n"
        "tavrix COMMAND --help tells more about each.");
    Command command;
    addSurfaceCommand(app, command);
    addLevelSetCommand(app, command);
    addPreviewCommand(app, command);
    addConvertCommand(app, command);
    addSimplifyCommand(app, command);
    addSphereCommand(app, command);
    addQueryCommand(app, command);
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
