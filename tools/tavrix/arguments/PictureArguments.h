#pragma once

#include <string>

#include "preview/View.h"

namespace CLI
{
class App;
}

namespace tavrix::tool
{

/// Adds the options that say what pictures are like to a command: their size, by the given name, and --up.
/// The group is their heading in the command's help.
void addPictureArguments(CLI::App& command, const std::string& sizeName, PreviewOptions& options,
                         const std::string& group);

}  // namespace tavrix::tool
