#pragma once

#include <cstdio>

#include <tavrix/platform/Export.h>
#include <tavrix/platform/TX_String.h>

namespace tavrix
{

/// Opens a file as std::fopen does, with a UTF-8 path on every system. Null when it cannot be opened; a
/// directory cannot, and neither can a path that is not UTF-8 where the system needs to convert it.
TX_GEOMETRY_API std::FILE* openFile(const TX_String& path, const char* mode) noexcept;

}  // namespace tavrix
