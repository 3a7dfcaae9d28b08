#pragma once

#include "Command.h"

namespace CLI
{
class App;
}

namespace tavrix::tool
{

/// Adds `tavrix convert`: a mesh file in, the same in another format out. When the arguments choose it,
/// `command` becomes it.
void addConvertCommand(CLI::App& app, Command& command);

}  // namespace tavrix::tool
