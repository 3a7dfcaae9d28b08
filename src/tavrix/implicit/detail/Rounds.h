#pragma once

#include <algorithm>

#include <tavrix/foundation/CancelCallback.h>
#include <tavrix/foundation/ParallelFor.h>

namespace tavrix::detail
{

/// Runs task(worker, begin, end) over the items in rounds of so many a worker, and polls the callback on the
/// caller's thread before each and at the end; false when it stopped the work.
template <class Task>
bool inRounds(uint64 itemCount, uint64 itemsPerWorker, uint32 threadCount, CancelCallback callback, Task task)
{
    const uint64 perRound = std::max<uint64>(itemsPerWorker, 1) * std::max(threadCount, 1u);
    for (uint64 start = 0; start < itemCount; start += perRound)
    {
        if (isCancelled(callback)) return false;
        parallelFor(std::min(perRound, itemCount - start), threadCount,
                    [&](uint32 worker, uint64 begin, uint64 end)
                    { task(worker, start + begin, start + end); });
    }
    return !isCancelled(callback);
}

/// Nodes or faces that a worker passes over in a round where each costs little.
inline constexpr uint64 itemsPerPass = uint64{1} << 22;

}  // namespace tavrix::detail
