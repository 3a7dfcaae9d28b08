#pragma once

#include "Command.h"

namespace CLI
{
class App;
}

namespace tavrix::tool
{

/// Adds `tavrix info`: what particle and mesh files hold. When the arguments choose it, `command` becomes it.
void addInfoCommand(CLI::App& app, Command& command);

}  // namespace tavrix::tool
