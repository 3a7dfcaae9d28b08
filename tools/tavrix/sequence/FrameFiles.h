#pragma once

#include <string>
#include <vector>

namespace tavrix::tool
{

/// The files of a run, or of one frame of a sequence, by name; those of a sequence are patterns.
struct FrameFiles
{
    std::vector<std::string> inputs;  ///< the first says which frames there are
    std::vector<std::string> outputs;
};

}  // namespace tavrix::tool
