#pragma once

#include <cstddef>

#include <tavrix/platform/Export.h>

namespace tavrix
{

/// Asks the system to back a large block of memory with huge pages, which makes its first touch several times
/// cheaper. A hint: blocks below a few megabytes, and systems without the call, are left alone. The contents
/// do not change.
TX_GEOMETRY_API void adviseHugePages(void* block, std::size_t bytes) noexcept;

}  // namespace tavrix
