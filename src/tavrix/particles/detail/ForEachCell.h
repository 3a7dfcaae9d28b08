#pragma once

#include <algorithm>
#include <vector>

#include <tavrix/foundation/detail/Polling.h>
#include <tavrix/particles/NeighbourGrid.h>

namespace tavrix::detail
{

/// Points that one worker handles between two polls: some milliseconds.
inline constexpr uint32 pointsPerPoll = 1 << 11;

/// Calls task(cell, runs) for every cell that holds points, spread over the workers; `runs` is scratch for
/// the runs of the cell's neighbours. False when the polling stopped the work.
template <class Task>
bool forEachCell(const NeighbourGrid& grid, uint32 threadCount, Polling& polling, Task task)
{
    return polledFor(polling, grid.cellCount(), threadCount,
                     [&](uint32, uint64 begin, uint64 end)
                     {
                         std::vector<NeighbourGrid::Run> runs;
                         PollCounter points(polling, pointsPerPoll);
                         for (auto c = static_cast<uint32>(begin); c < end; ++c)
                         {
                             task(c, runs);
                             const NeighbourGrid::Run cell = grid.cell(c);
                             if (!points.add(cell.end - cell.begin)) return;
                         }
                     });
}

}  // namespace tavrix::detail
