#pragma once

#include <string>

namespace tavrix::tool
{

/// The part of a file's name behind its last dot, in small letters; empty when there is none.
std::string extensionOf(const std::string& path);

}  // namespace tavrix::tool
