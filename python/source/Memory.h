#pragma once

#include <tavrix/platform/Types.h>

namespace tavrix::python
{

/// Bytes that the machine can still give; 2^63 when it does not tell.
uint64 availableMemory();

/// Raises MemoryError when work on a grid would take more bytes than that.
void confirmMemory(double bytes);

}  // namespace tavrix::python
