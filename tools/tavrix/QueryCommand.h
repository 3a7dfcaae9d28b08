#pragma once

#include "Command.h"

namespace CLI
{
class App;
}

namespace tavrix::tool
{

/// Adds `tavrix query`: where rays hit a mesh, and what of it is nearest to points. When the arguments choose
/// it, `command` becomes it.
void addQueryCommand(CLI::App& app, Command& command);

}  // namespace tavrix::tool
