#pragma once

#include <functional>
#include <string>

namespace tavrix::formats
{

/// Throws Failure when the folder of a file to be written does not exist: before long work, not after it.
void confirmFolder(const std::string& target);

/// Writes a file so that no partial one ever looks whole: `write(path)` fills a file beside the target, which
/// then takes the target's name, and its permissions when it was there. A symbolic link stays and its file is
/// replaced. A target that is no regular file (a device, a pipe) is written directly; standard output that
/// goes into a regular file is appended to. `write` returns 0 or an error code. Throws Failure when the
/// folder does not exist, the target is a folder, or writing fails; the file beside is removed then.
void writeFileWhole(const std::string& target, const std::function<int(const std::string& path)>& write);

}  // namespace tavrix::formats
