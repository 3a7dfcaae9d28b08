#pragma once

#include "Command.h"

namespace CLI
{
class App;
}

namespace tavrix::tool
{

/// tavrix simplify: a mesh file in, the same with near vertices joined out.
void addSimplifyCommand(CLI::App& app, Command& command);

}  // namespace tavrix::tool
