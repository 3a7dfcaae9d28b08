#pragma once

#include "Command.h"

namespace CLI
{
class App;
}

namespace tavrix::tool
{

/// tavrix sphere: writes a triangulated sphere.
void addSphereCommand(CLI::App& app, Command& command);

}  // namespace tavrix::tool
