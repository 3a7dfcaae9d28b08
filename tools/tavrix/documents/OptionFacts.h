#pragma once

#include <string>
#include <vector>

namespace CLI
{
class App;
class Option;
}  // namespace CLI

namespace tavrix::tool
{

/// What manual pages and completions say of an option, as the help does: all three come from the options that
/// the commands declare.
struct OptionFacts
{
    std::vector<std::string> shortNames, longNames;  ///< without dashes; none for a positional argument
    std::string positional;                          ///< its name, "IN"
    std::string value;                               ///< what stands behind it, "NUMBER [1]"; empty for flags
    std::string description, group;
    std::vector<std::string> choices;     ///< what the value may be, where that is a list
    std::vector<std::string> extensions;  ///< of the files that it may name
    bool takesFile = false;
    bool takesValue = false;
};

/// Of every option that the help shows, positional ones first, in order.
std::vector<OptionFacts> factsOf(const CLI::App& command);

}  // namespace tavrix::tool
