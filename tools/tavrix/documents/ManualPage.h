#pragma once

#include <string>

namespace CLI
{
class App;
}

namespace tavrix::tool
{

/// The manual page of the program, or of one of its commands, in the language of man(7), with what their help
/// tells.
/// @{
std::string programPage(const CLI::App& program);
std::string commandPage(const CLI::App& command);
/// @}

}  // namespace tavrix::tool
