#pragma once

#include <filesystem>
#include <string>

namespace tavrix::formats
{

/// The part of a file's name behind its last dot, in small letters; empty when there is none.
std::string extensionOf(const std::string& path);

/// File names are UTF-8 throughout the program; these turn them into the system's and back.
std::filesystem::path pathOf(const std::string& utf8);
std::string utf8Of(const std::filesystem::path& path);

/// Whether the name is that of the program's own standard output, which then is no place for messages.
bool isStandardOutput(const std::string& path);

/// Whether both names lead to one file that exists, whatever way.
bool isSameFile(const std::string& a, const std::string& b);

}  // namespace tavrix::formats
