#pragma once

#include "Command.h"

namespace CLI
{
class App;
}

namespace tavrix::tool
{

/// Adds `tavrix levelset`: a mesh, particles or a field in, the surface of their distances, grown, shrunk or
/// hollowed, and the field out. When the arguments choose it, `command` becomes it.
void addLevelSetCommand(CLI::App& app, Command& command);

}  // namespace tavrix::tool
