#pragma once

#include <algorithm>
#include <span>

#include <tavrix/fields/GridDescription3.h>
#include <tavrix/foundation/detail/Polling.h>
#include <tavrix/implicit/detail/SlabPipeline.h>
#include <tavrix/platform/Hardware.h>

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
/// A volume is visited after its upwind neighbours, volume (s, b) after (s - 1, b) and (s, b - 1). Two
/// volumes of which none waits for the other touch each other along edges at most, where no node looks, so
/// they can be visited at once, and every node sees what it would see if one worker visited them all: the
/// result is the same for every thread count.
class SweepOrder
{
public:
    /// Blocks are of whole groups of rows, which are visited side by side. There are no more workers than the
    /// machine can run at once: they would wait for each other.
    SweepOrder(const GridDescription3<double>& grid, uint32 threadCount, uint32 rowsInGroup)
        : _sizeX(grid.sizeX),
          _sizeY(grid.sizeY),
          _sizeZ(grid.sizeZ),
          _rowsInGroup(rowsInGroup),
          _threadCount(std::min(threadsWorth(grid.size, lightItems, threadCount), Hardware::getThreadCount()))
    {
        // With n workers, 8n volumes along an axis leave them little to wait for at the ends of sweeps; small
        // volumes are not worth telling others.
        constexpr uint64 leastNodes = 8192;
        const uint32 most = _threadCount == 1 ? 1 : std::min(8 * std::min(_threadCount, 1024u), 1u << 13);
        uint32 along = 1;
        while (along < most && grid.size / (uint64{4} * along * along) >= leastNodes) along *= 2;
        _slabs = std::clamp(std::min(along, grid.sizeX), 1u, most);
        _blocks = std::clamp(std::min(along, groups()), 1u, most);
    }

    /// Workers are numbered below this.
    uint32 workerCount() const { return std::min(_threadCount, std::min(_slabs, _blocks)); }

    /// Sweeps along all directions, one pass after the other, as long as hasNextPass() is true after a pass
    /// and the polling does not stop it: visit(worker, direction, plane, first row, end row) for parts of
    /// planes that cover all nodes once a sweep. Rows are counted along the way of the direction. The workers
    /// start once; hasNextPass() is called by one of them.
    template <class HasNextPass, class Visit>
    void sweep(Polling& polling, std::span<const SweepDirection> directions, HasNextPass hasNextPass,
               Visit visit) const
    {
        std::size_t sweeps = 0;
        SlabPipeline pipeline(_slabs, _blocks,
                              [&]
                              {
                                  if (polling.isStopped()) return false;
                                  return ++sweeps % directions.size() != 0 || hasNextPass();
                              });
        polledFor(polling, workerCount(), workerCount(),
                  [&](uint32 worker, uint64, uint64)
                  {
                      PollCounter nodes(polling, scatteredItems);
                      while (const SlabPipeline::Slab slab{pipeline})
                          visitSlab(slab, directions[slab.sweep() % directions.size()], worker, polling,
                                    nodes, visit);
                  });
    }

private:
    uint32 groups() const { return (_sizeY + _rowsInGroup - 1) / _rowsInGroup; }
    uint32 planeAt(uint64 slab) const { return static_cast<uint32>(slab * _sizeX / _slabs); }
    uint32 rowAt(uint64 block) const
    {
        return std::min(static_cast<uint32>(block * groups() / _blocks) * _rowsInGroup, _sizeY);
    }

    template <class Visit>
    void visitSlab(const SlabPipeline::Slab& slab, const SweepDirection& direction, uint32 worker,
                   Polling& polling, PollCounter& nodes, Visit& visit) const
    {
        for (uint32 block = 0; block < _blocks && !polling.isStopped(); ++block)
        {
            slab.await(block);
            const uint32 low = rowAt(block), high = rowAt(block + 1);
            for (uint32 t = planeAt(slab.number()); t < planeAt(slab.number() + 1); ++t)
            {
                if (!nodes.add(uint64{high - low} * _sizeZ)) return;
                visit(worker, direction, direction.a > 0 ? t : _sizeX - 1 - t, low, high);
            }
            slab.tell(block + 1);
        }
    }

    uint32 _sizeX, _sizeY, _sizeZ, _rowsInGroup, _threadCount;
    uint32 _slabs, _blocks;
};

}  // namespace tavrix::detail
