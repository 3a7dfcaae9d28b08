#pragma once

#include <string>
#include <utility>
#include <vector>

namespace CLI
{
class App;
}

namespace tavrix::tool
{

/// The heading of options that are taken in the order in which they stand, also among each other.
inline constexpr const char* orderedGroup = "Combination";

/// The names ("--union") and values of these options, as they were given to the command.
std::vector<std::pair<std::string, std::string>> orderedValues(const CLI::App& command);

}  // namespace tavrix::tool
