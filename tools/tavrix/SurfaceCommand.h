#pragma once

#include "Command.h"

namespace CLI
{
class App;
}

namespace tavrix::tool
{

/// tavrix surface: particles in, surface mesh out, for one file or a sequence of them.
void addSurfaceCommand(CLI::App& app, Command& command);

}  // namespace tavrix::tool
