#pragma once

#include <string>

namespace CLI
{
class App;
}

namespace tavrix::tool
{

/// Completion of the program's arguments for a shell: commands, options, the values that they may have, also
/// behind --option=, and files with the extensions that a command takes.
/// @{
std::string bashCompletion(const CLI::App& program);
std::string zshCompletion(const CLI::App& program);
std::string fishCompletion(const CLI::App& program);
/// @}

}  // namespace tavrix::tool
