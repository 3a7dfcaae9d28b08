#pragma once

#include <tavrix/fields/GridDescription3.h>
#include <tavrix/foundation/detail/Polling.h>
#include <tavrix/foundation/ParallelFor.h>

namespace tavrix::detail
{

/// use(node, monoindex) for all nodes, by planes.
template <class Coord, class Use>
void forEachNode(const GridDescription3<Coord>& grid, uint32 threadCount, Use use)
{
    if (grid.size == 0) return;
    const uint32 threads = threadsWorth(grid.size, lightItems, threadCount);
    parallelFor(grid.sizeX, threads,
                [&](uint32, uint64 begin, uint64 end)
                {
                    for (auto i = static_cast<uint32>(begin); i < end; ++i)
                    {
                        uint32 m = grid.getMonoindex(i, 0, 0);
                        for (uint32 j = 0; j < grid.sizeY; ++j)
                            for (uint32 k = 0; k < grid.sizeZ; ++k, ++m) use(Index3{i, j, k}, m);
                    }
                });
}

}  // namespace tavrix::detail
