#pragma once

#include <algorithm>

#include <tavrix/foundation/detail/Polling.h>
#include <tavrix/particles/NeighbourGrid.h>

namespace tavrix::detail
{

/// Points that one worker handles between two polls: some milliseconds.
inline constexpr uint32 pointsPerPoll = 1 << 11;

/// Calls task(worker, cell) for every cell that holds points, spread over the workers. False when the polling
/// stopped the work.
template <class Task>
bool forEachCell(const NeighbourGrid& grid, uint32 threadCount, Polling& polling, Task task)
{
    return polledFor(polling, grid.cellCount(), threadsWorth(grid.size(), pointsPerPoll, threadCount),
                     [&](uint32 worker, uint64 begin, uint64 end)
                     {
                         PollCounter points(polling, pointsPerPoll);
                         for (auto c = static_cast<uint32>(begin); c < end; ++c)
                         {
                             task(worker, c);
                             const NeighbourGrid::Run cell = grid.cell(c);
                             if (!points.add(cell.end - cell.begin)) return;
                         }
                     });
}

}  // namespace tavrix::detail
