#pragma once

#include <string>

namespace CLI
{
class App;
}

namespace tavrix::tool
{

/// Writes the manual pages (man1/NAME.1) and the completions (tavrix.bash, _tavrix, tavrix.fish) into a
/// folder, which is made. Throws Failure.
void writeDocuments(const CLI::App& program, const std::string& folder);

}  // namespace tavrix::tool
