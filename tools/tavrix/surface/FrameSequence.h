#pragma once

#include <optional>
#include <string>
#include <vector>

#include <tavrix/platform/Types.h>

namespace tavrix::tool
{

/// A file name with a {} in it stands for the frames of a sequence: any digits may take its place. The names
/// of folders are taken as they are.
bool isPattern(const std::string& name);

/// The pattern with the text in place of its {}.
std::string fillPattern(const std::string& pattern, const std::string& text);

struct Frame
{
    std::string digits;  ///< as they stand in the name
    uint64 number;
};

/// The frames for which there are files, by number, from `first` to `last` where those are given. Throws
/// Failure when there are none.
std::vector<Frame> findFrames(const std::string& pattern, std::optional<uint64> first,
                              std::optional<uint64> last);

/// Whether the file exists and is no older than the one that it is made from.
bool isUpToDate(const std::string& file, const std::string& source);

}  // namespace tavrix::tool
