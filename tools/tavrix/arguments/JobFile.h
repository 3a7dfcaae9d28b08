#pragma once

#include <string>
#include <vector>

namespace CLI
{
class App;
}

namespace tavrix::tool
{

// A job file (TOML) holds the arguments of a run: command = "surface", then an option a line by its long
// name, radius = 0.05, and positional arguments by theirs in small letters, in = "water.bin". Flags are true
// or false; what an option takes several times is an array. Options whose order counts (OrderedOptions.h) are
// an array of tables by the name of their group, combination = [{union = "b.stl"}, {subtract = "c.stl"}].

/// Takes `--config FILE` out of the arguments and puts those of the file behind them, except what the
/// arguments give themselves. Throws Failure when the file cannot be read, or holds what is no option of the
/// command.
std::vector<std::string> withJobFile(CLI::App& app, std::vector<std::string> arguments);

/// Writes the arguments of the command that was parsed as a job file, whole or not at all. Throws Failure.
void saveJobFile(const CLI::App& command, const std::string& path);

}  // namespace tavrix::tool
