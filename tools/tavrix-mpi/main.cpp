// The surfaces of `tavrix surface` made by many processes, over MPI. Exit status 0 done, 1 failed, 2 wrong
// usage; of all ranks.

#include <algorithm>
#include <cstdio>
#include <memory>

#include <mpi.h>
#include <CLI/CLI.hpp>

#include "arguments/Arguments.h"
#include "arguments/Complaint.h"
#include "arguments/HelpFormatter.h"
#include "arguments/JobFile.h"
#include "arguments/SharedArguments.h"
#include "arguments/Validators.h"
#include "commands/Command.h"
#include "plan/PlanCommand.h"
#include "ranks/EndOfJob.h"
#include "ranks/MpiRanks.h"
#include "run/Interrupt.h"
#include "surface/RankSurface.h"

namespace
{

using namespace tavrix;
using namespace tavrix::tool;

constexpr int failed = 1, wrongUsage = 2;

std::string versionText()
{
    char library[MPI_MAX_LIBRARY_VERSION_STRING];
    int length = 0;
    MPI_Get_library_version(library, &length);
    const std::string name(library, static_cast<std::size_t>(length));
    return "tavrix-mpi " TAVRIX_VERSION "\nruns on " + name.substr(0, name.find_first_of(",\n"));
}

/// What is done otherwise with many ranks.
void refuseUnfit(const CLI::App& surface)
{
    for (const char* option : {"--preview", "--preview-particles"})
        refuse(surface, option, true, "is for tavrix preview, which draws the mesh that is made");
    refuse(surface, "--jobs", true, "is for one machine; --ranks-per-frame says how many make a frame");
}

void describe(CLI::App& app, Command& command, MpiRanks& world)
{
    app.allow_windows_style_options(false);  // what begins with a slash is a path
    app.require_subcommand(1);
    app.get_formatter()->column_width(32);
    app.set_version_flag("-V,--version", versionText());
    app.formatter(std::make_shared<HelpFormatter>());
    app.failure_message(complaint);
    app.footer(
        "\nOne surface by eight processes, and the frames of a sequence by four groups of two:\n"
        "  mpirun -n 8 tavrix-mpi surface water.bin -o water.vtp\n"
        "  mpirun -n 8 tavrix-mpi surface \"water_{}.bin\" -o \"mesh_{}.bin\" --ranks-per-frame 2\n"
        "What it would take on more:\n"
        "  tavrix-mpi plan water.bin --ranks 64,1024\n\n"
        "tavrix-mpi COMMAND --help tells more about each.");
    const auto ranks = std::make_shared<RankOptions>();
    CLI::App* surface = addSurfaceCommand(app, command,
                                          [ranks, &world](const SurfaceOptions& options)
                                          { return runSurfaceOverRanks(options, *ranks, world); });
    surface
        ->add_option("--ranks-per-frame", ranks->ranksPerFrame,
                     "So many ranks make a frame of a sequence together; one file is made by all")
        ->check(wholeNumber(1, 1000000))
        ->option_text("COUNT [1]")
        ->group("Sequence");
    addPlanCommand(app, command, world);
    for (CLI::App* each : app.get_subcommands({})) addJobFile(*each);
}

/// The exit status; on all ranks the same.
int run(const Command& command, const CLI::App& app, MpiRanks& world)
{
    try
    {
        return orEndOfJob(command.input,
                          [&]
                          {
                              const CLI::App& chosen = *app.get_subcommands().front();
                              const std::string jobFile = jobFileOf(chosen);
                              world.together(
                                  [&]
                                  {
                                      if (!jobFile.empty() && world.isFirst()) saveJobFile(chosen, jobFile);
                                  });
                              return command.run();
                          });
    }
    catch (const Failure& failure)
    {
        if (world.isFirst()) std::fprintf(stderr, "tavrix: %s\n", failure.what());
        return failed;
    }
}

int runProgram(int argc, char** argv)
{
    MpiRanks world(MPI_COMM_WORLD);
    CLI::App app{"Particles become surfaces, on many machines together.", "tavrix-mpi"};
    Command command;
    describe(app, command, world);
    std::vector<std::string> arguments = utf8Arguments(argc, argv);
    try
    {
        world.together([&] { arguments = withJobFile(app, std::move(arguments)); });
        std::reverse(arguments.begin(), arguments.end());
        app.parse(arguments);
        refuseUnfit(*app.get_subcommands().front());
    }
    catch (const CLI::ParseError& error)
    {
        // all ranks have the same arguments, and one tells what is wrong with them
        std::ostringstream none;
        const int code = world.isFirst() ? app.exit(error) : app.exit(error, none, none);
        return code == 0 ? 0 : wrongUsage;
    }
    catch (const Failure& failure)
    {
        if (world.isFirst()) std::fprintf(stderr, "tavrix: %s\n", failure.what());
        return failed;
    }
    return run(command, app, world);
}

}  // namespace

// NOLINTNEXTLINE(bugprone-exception-escape): before run(), which catches all, nothing fails but memory
int main(int argc, char** argv)
{
    int provided = MPI_THREAD_SINGLE;
    MPI_Init_thread(&argc, &argv, MPI_THREAD_MULTIPLE, &provided);
    installInterruptHandler();
    const int status = runProgram(argc, argv);
    std::fflush(stdout);
    MPI_Finalize();
    return status;
}
