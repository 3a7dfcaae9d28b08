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

/// A number with zeros before it, as many digits as the last one of so many, from 0 on, has.
std::string paddedNumber(std::size_t number, std::size_t count);

struct Frame
{
    std::string digits;  ///< as they stand in the name
    uint64 number;
};

/// The frames for which there are files, by number; none where there are none.
std::vector<Frame> framesNamed(const std::string& pattern);

/// The frames for which there are files, by number, from `first` to `last` where those are given. Throws
/// Failure when there are none.
std::vector<Frame> findFrames(const std::string& pattern, std::optional<uint64> first,
                              std::optional<uint64> last);

/// The numbers for which there is no frame between those that there are, as in "3, 12 to 15"; at most a few
/// of these, then "and more". Empty when none is missing.
std::string missingNumbers(const std::vector<Frame>& frames);

}  // namespace tavrix::tool
