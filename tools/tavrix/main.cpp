// The tavrix program: particles become surface meshes, and meshes other shapes, pictures and files. Exit
// status 0 done, 1 failed, 2 wrong usage.

#include <algorithm>
#include <cstdio>
#include <memory>
#include <new>
#include <string>

#include <CLI/CLI.hpp>

#include "arguments/Arguments.h"
#include "arguments/Complaint.h"
#include "arguments/HelpFormatter.h"
#include "arguments/JobFile.h"
#include "arguments/SharedArguments.h"
#include "commands/Command.h"
#include "documents/Documents.h"
#include "formats/ImportLibrary.h"
#include "run/Failure.h"
#include "run/Interrupt.h"
#include "surface/SurfaceRun.h"

namespace
{

using namespace tavrix::tool;

constexpr int failed = 1, wrongUsage = 2;

/// The version, and what was built in.
std::string versionText()
{
    const std::string library = tavrix::formats::importLibrary();
    return "tavrix " TAVRIX_VERSION + (library.empty() ? "" : "\nreads further mesh formats with " + library);
}

int run(const Command& command, const CLI::App& app)
{
    try
    {
        const CLI::App& chosen = *app.get_subcommands().front();
        if (const std::string jobFile = jobFileOf(chosen); !jobFile.empty()) saveJobFile(chosen, jobFile);
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

void describe(CLI::App& app, Command& command)
{
    app.allow_windows_style_options(false);  // what begins with a slash is a path
    app.require_subcommand(1);
    app.get_formatter()->column_width(32);
    app.set_version_flag("-V,--version", versionText());
    app.formatter(std::make_shared<HelpFormatter>());
    app.failure_message(complaint);
    app.footer(
        "\nFrom particles to a picture:\n"
        "  tavrix info water.bin                    what the file holds\n"
        "  tavrix surface water.bin -o water.obj    particles become a surface\n"
        "  tavrix preview water.obj -o water.png    the surface becomes a picture\n"
        "  tavrix convert water.obj water.stl       or a file for another program\n\n"
        "tavrix COMMAND --help tells more about each.");
    addSurfaceCommand(app, command, runSurface);
    addLevelSetCommand(app, command);
    addPreviewCommand(app, command);
    addConvertCommand(app, command);
    addSimplifyCommand(app, command);
    addSubdivideCommand(app, command);
    addDisplaceCommand(app, command);
    addRemeshCommand(app, command);
    addFillCommand(app, command);
    addSphereCommand(app, command);
    addSliceCommand(app, command);
    addQueryCommand(app, command);
    addInfoCommand(app, command);
    for (CLI::App* each : app.get_subcommands({})) addJobFile(*each);
}

}  // namespace

// NOLINTNEXTLINE(bugprone-exception-escape): before run(), which catches all, nothing fails but memory
int main(int argc, char** argv)
{
    CLI::App app{"Particles become fields, fields become surfaces, surfaces become meshes.", "tavrix"};
    Command command;
    describe(app, command);
    std::vector<std::string> arguments = utf8Arguments(argc, argv);
    try
    {
        // for the build, which installs them
        if (arguments.size() == 2 && arguments[0] == "--write-documents")
            return writeDocuments(app, arguments[1]), 0;
        arguments = withJobFile(app, std::move(arguments));
        std::reverse(arguments.begin(), arguments.end());
        app.parse(arguments);
    }
    catch (const CLI::ParseError& error)
    {
        return app.exit(error) == 0 ? 0 : wrongUsage;
    }
    catch (const Failure& failure)
    {
        std::fprintf(stderr, "tavrix: %s\n", failure.what());
        return failed;
    }
    installInterruptHandler();
    const int status = run(command, app);
    dieOfInterrupt();
    return status;
}
