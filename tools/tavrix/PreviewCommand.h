#pragma once

#include "Command.h"

namespace CLI
{
class App;
}

namespace tavrix::tool
{

/// Adds `tavrix preview`: mesh and particle files in, a picture out. When the arguments choose it, `command`
/// becomes it.
void addPreviewCommand(CLI::App& app, Command& command);

}  // namespace tavrix::tool
