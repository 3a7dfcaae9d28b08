#include "plan/PlanCommand.h"

#include <algorithm>
#include <cstdio>
#include <limits>
#include <memory>

#include <CLI/CLI.hpp>

#include <tavrix/platform/Hardware.h>

#include "arguments/SharedArguments.h"
#include "arguments/Validators.h"
#include "commands/BlockMemory.h"
#include "commands/ParticleCrop.h"
#include "commands/RadiusOrEstimate.h"
#include "formats/FileKind.h"
#include "formats/ParticleFile.h"
#include "plan/Model.h"
#include "run/Failure.h"
#include "run/Text.h"
#include "surface/SurfaceArguments.h"

namespace tavrix::tool
{

namespace
{

struct PlanOptions
{
    SurfaceOptions surface;
    std::vector<uint32> ranks{1, 2, 4, 8, 16, 64, 256, 1024};
};

/// "1.5 GiB".
std::string sizeText(double bytes)
{
    constexpr double kibi = 1024;
    const char* const units[] = {"KiB", "MiB", "GiB", "TiB"};
    std::size_t unit = 0;
    for (bytes /= kibi; bytes >= kibi && unit < 3; ++unit) bytes /= kibi;
    return formatted("%.3g %s", bytes, units[unit]);
}

/// From which number of ranks on the memory of each would do.
std::string memoryText(const std::vector<uint32>& ranks, const std::vector<RankCosts>& costs, double memory,
                       bool isGathered)
{
    double least = std::numeric_limits<double>::infinity();
    for (std::size_t n = 0; n < ranks.size(); ++n)
    {
        const double bytes = isGathered ? costs[n].bytesGathered : costs[n].bytes;
        if (bytes <= memory)
            return formatted("memory     %s a rank are enough for %u ranks", sizeText(memory).c_str(),
                             ranks[n]);
        least = std::min(least, bytes);
    }
    return formatted("memory     %s a rank are too little; one takes %s: ", sizeText(memory).c_str(),
                     sizeText(least).c_str()) +
           (isGathered ? "the first gathers the mesh, try a larger --spacing"
                       : "try more ranks or a larger --spacing");
}

void runPlan(PlanOptions options)
{
    formats::ParticleFile particles = formats::readParticleFile(options.surface.input);
    if (options.surface.crop) cropParticles(particles, *options.surface.crop, options.surface.input);
    std::sort(options.ranks.begin(), options.ranks.end());
    const ReconstructionSettings& given = options.surface.surface;
    const auto forecast = forecastRanks(particles.positions, given, options.ranks);
    if (!forecast)
        throw Failure(
            options.surface.input +
            ": nothing can be told; all particles lie at one place, or too far apart for the spacing");
    const ReconstructionSettings& s = forecast->settings;
    const uint32 threads = given.threadCount == 0 ? 1 : given.threadCount;
    std::printf("particles  %u, radius %.6g%s\n", forecast->particles, *s.radius,
                given.radius ? "" : " (estimated from their spacing)");
    std::fputs(latticeText(*s.spacing, forecast->blocks).c_str(), stdout);
    std::printf("mesh       about %.2g vertices, %.2g faces\n\n", forecast->vertices, 2 * forecast->vertices);
    std::printf("%9s %12s %12s %12s %10s %10s\n", "ranks", "a rank", "gathered", "sent", "seconds",
                "imbalance");
    std::vector<RankCosts> costs;
    for (const RankLoads& loads : forecast->loads)
    {
        costs.push_back(costsOf(*forecast, loads, threads));
        const RankCosts& c = costs.back();
        std::printf("%9u %12s %12s %12s %10.3g %10.2f\n", loads.ranks, sizeText(c.bytes).c_str(),
                    sizeText(c.bytesGathered).c_str(), sizeText(c.sent).c_str(), c.seconds, loads.imbalance);
    }
    if (given.memory)
    {
        const bool isGathered = given.weldTolerance || given.fillCavities || given.decimation;
        const auto memory = static_cast<double>(*given.memory);
        std::printf("\n%s\n", memoryText(options.ranks, costs, memory, isGathered).c_str());
    }
}

}  // namespace

void addPlanCommand(CLI::App& app, Command& command, MpiRanks& world)
{
    const auto options = std::make_shared<PlanOptions>();
    CLI::App* plan = app.add_subcommand(
        "plan", "Tell what a surface would take, in memory, traffic and time, on so many ranks");
    plan->add_option("IN", options->surface.input, particleFileText())
        ->required()
        ->check(anyFile(formats::particleExtensions()))
        ->option_text(" ");
    plan->add_option("--ranks", options->ranks, "Numbers of ranks, one or several")
        ->delimiter(',')
        ->check(wholeNumber(1, 100000))
        ->option_text("COUNT,... [1,2,4,8,16,64,256,1024]");
    addSurfaceSettings(*plan, options->surface);
    plan->footer(
        "\nExamples:\n"
        "  tavrix-mpi plan water.bin --ranks 64,1024 --memory 2G\n"
        "  tavrix-mpi plan water.bin --ranks 100000 --spacing 0.001 --threads 4");
    plan->callback(
        [options, &command, &world]
        {
            const auto run = [options, &world]
            {
                world.together(
                    [&]
                    {
                        if (world.isFirst()) runPlan(*options);
                    });
                return 0;
            };
            command = {run, options->surface.input, "", "try a machine with more"};
        });
}

}  // namespace tavrix::tool
