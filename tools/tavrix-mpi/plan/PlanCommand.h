#pragma once

#include "commands/Command.h"
#include "ranks/MpiRanks.h"

namespace tavrix::tool
{

/// Adds `tavrix-mpi plan`: what a surface would take on so many ranks. The first rank does the work.
void addPlanCommand(CLI::App& app, Command& command, MpiRanks& world);

}  // namespace tavrix::tool
