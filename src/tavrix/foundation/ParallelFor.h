#pragma once

#include <functional>

#include <tavrix/platform/Export.h>
#include <tavrix/platform/Types.h>

namespace tavrix
{

/// Runs the task over the items [0, itemCount) in waves of contiguous runs.
///
/// With one item or one thread (0 counts as 1) the caller's thread runs everything as worker 0. Otherwise
/// each wave cuts chunk = remaining / threadCount (at least 1) items for each of min(threadCount, remaining)
/// workers, worker w taking the run that begins at start + w * chunk, and joins them all; what does not
/// divide runs in a last, smaller wave of one item a worker. `task(worker, begin, end)` is called at most
/// once a worker and wave, and writes only what is its own. A thread that cannot be started is no failure:
/// the caller runs its share. An exception in a worker is thrown here after the wave was joined, the lowest
/// worker's first; later waves then do not start. No items: nothing happens.
TX_GEOMETRY_API void parallelFor(uint64 itemCount, uint32 threadCount,
                                 const std::function<void(uint32 worker, uint64 begin, uint64 end)>& task);

}  // namespace tavrix
