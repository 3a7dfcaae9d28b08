#pragma once

#include <functional>
#include <string>

namespace tavrix::tool
{

/// The command that the arguments chose, and what messages about it name.
struct Command
{
    std::function<int()> run;  ///< returns the exit status, or throws Failure
    std::string input;         ///< the file that it reads
    std::string output;        ///< the file that it writes; empty: standard output
    std::string memoryHint = "close other programs or use a larger machine";  ///< when memory runs out
};

}  // namespace tavrix::tool
