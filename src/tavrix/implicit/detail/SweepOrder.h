#pragma once

#include <algorithm>

#include <tavrix/fields/GridDescription3.h>
#include <tavrix/foundation/detail/Polling.h>

namespace tavrix::detail
{

/// A diagonal order of the nodes of a grid: +1 or -1 an axis.
using SweepDirection = Tuple3<int32, int32, int32>;

/// The eight of them, in the order in which a pass takes them.
inline constexpr SweepDirection sweepDirections[8] = {{1, 1, 1},  {-1, 1, 1},  {-1, -1, 1},  {1, -1, 1},
                                                      {1, 1, -1}, {-1, 1, -1}, {-1, -1, -1}, {1, -1, -1}};

/// The order of a sweep along a direction: the grid is cut into volumes, slabs of x planes by blocks of y
/// rows, so that workers may share it.
///
/// A sweep goes over the volumes in waves, each of those volumes whose upwind neighbours were visited in the
/// wave before: volume (s, b) in wave s + b. The volumes of a wave touch each other along edges only, where
/// no node looks, so they can be visited at once, and every node sees what it would see if one worker visited
/// them all: the result is the same for every thread count.
class SweepOrder
{
public:
    /// Blocks are of whole groups of rows, which are visited side by side.
    SweepOrder(const GridDescription3<double>& grid, uint32 threadCount, uint32 rowsInGroup)
        : _sizeX(grid.sizeX),
          _sizeY(grid.sizeY),
          _sizeZ(grid.sizeZ),
          _rowsInGroup(rowsInGroup),
          _threadCount(std::max(threadCount, 1u))
    {
        // With n workers, 8n volumes along an axis leave them little to wait for at the ends of waves; small
        // volumes are not worth the start of a worker.
        constexpr uint64 leastNodes = 8192;
        const uint32 most = _threadCount == 1 ? 1 : std::min(8 * std::min(_threadCount, 1024u), 1u << 13);
        uint32 along = 1;
        while (along < most && grid.size / (uint64{4} * along * along) >= leastNodes) along *= 2;
        _slabs = std::clamp(std::min(along, grid.sizeX), 1u, most);
        _blocks = std::clamp(std::min(along, groups()), 1u, most);
    }

    /// Workers are numbered below this.
    uint32 workerCount() const { return std::min(_threadCount, std::min(_slabs, _blocks)); }

    /// visit(worker, plane, first row, end row) for parts of planes that cover all nodes once. Rows are
    /// counted along the way of the direction. Ends early when the polling stops it.
    template <class Visit>
    void sweep(Polling& polling, const SweepDirection& direction, Visit visit) const
    {
        for (uint32 wave = 0; wave < _slabs + _blocks - 1 && !polling.isStopped(); ++wave)
        {
            const uint32 first = wave < _blocks ? 0 : wave - _blocks + 1;
            const uint32 last = std::min(wave, _slabs - 1);
            polledFor(polling, last - first + 1, _threadCount,
                      [&](uint32 worker, uint64 begin, uint64 end)
                      {
                          PollCounter nodes(polling, scatteredItems);
                          for (uint64 slab = first + begin; slab < first + end; ++slab)
                              visitVolume(direction, slab, wave - slab, worker, nodes, visit);
                      });
        }
    }

private:
    uint32 groups() const { return (_sizeY + _rowsInGroup - 1) / _rowsInGroup; }
    uint32 planeAt(uint64 slab) const { return static_cast<uint32>(slab * _sizeX / _slabs); }
    uint32 rowAt(uint64 block) const
    {
        return std::min(static_cast<uint32>(block * groups() / _blocks) * _rowsInGroup, _sizeY);
    }

    template <class Visit>
    void visitVolume(const SweepDirection& direction, uint64 slab, uint64 block, uint32 worker,
                     PollCounter& nodes, Visit visit) const
    {
        const uint32 low = rowAt(block), high = rowAt(block + 1);
        for (uint32 t = planeAt(slab); t < planeAt(slab + 1) && nodes.add(uint64{high - low} * _sizeZ); ++t)
            visit(worker, direction.a > 0 ? t : _sizeX - 1 - t, low, high);
    }

    uint32 _sizeX, _sizeY, _sizeZ, _rowsInGroup, _threadCount;
    uint32 _slabs, _blocks;
};

}  // namespace tavrix::detail
