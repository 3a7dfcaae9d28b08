#pragma once

#include <string>
#include <vector>

namespace tavrix::tool
{

/// The program's arguments in UTF-8, without its name.
std::vector<std::string> utf8Arguments(int argc, char** argv);

}  // namespace tavrix::tool
