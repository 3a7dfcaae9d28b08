#pragma once

#include <algorithm>
#include <vector>

#include <tavrix/foundation/CancelCallback.h>
#include <tavrix/foundation/ParallelFor.h>
#include <tavrix/particles/NeighbourGrid.h>

namespace tavrix::detail
{

/// Points that one worker handles between two polls of the callback: some tens of milliseconds.
inline constexpr uint32 pointsPerPoll = 1 << 15;

/// Calls task(cell, runs) for every cell that holds points, spread over the workers; `runs` is scratch for
/// the runs of the cell's neighbours. False when the callback, polled on the caller's thread, stopped the
/// work.
template <class Task>
bool forEachCell(const NeighbourGrid& grid, uint32 threadCount, CancelCallback callback, Task task)
{
    const uint64 quota = uint64{pointsPerPoll} * std::max(threadCount, 1u);
    for (uint32 first = 0; first < grid.cellCount();)
    {
        if (isCancelled(callback)) return false;
        uint32 last = first + 1;
        while (last < grid.cellCount() && grid.cell(last).end - grid.cell(first).begin < quota) ++last;
        parallelFor(last - first, threadCount,
                    [&](uint32, uint64 begin, uint64 end)
                    {
                        std::vector<NeighbourGrid::Run> runs;
                        for (uint64 c = begin; c < end; ++c) task(static_cast<uint32>(first + c), runs);
                    });
        first = last;
    }
    return !isCancelled(callback);
}

}  // namespace tavrix::detail
