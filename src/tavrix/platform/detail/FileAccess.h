#pragma once

#include <cstdio>

#include <tavrix/platform/Types.h>

namespace tavrix::detail
{

/// std::fseek with a 64-bit offset; true when it succeeded.
bool seekFile(std::FILE* file, int64 offset, int origin) noexcept;

/// The present position, or -1 where the file has none (a pipe).
int64 tellFile(std::FILE* file) noexcept;

/// The size in bytes of a regular file, or -1 for what has no size of its own (a pipe, a device).
int64 regularFileSize(std::FILE* file) noexcept;

}  // namespace tavrix::detail
