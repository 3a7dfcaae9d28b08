#pragma once

#include <vector>

#include <tavrix/foundation/ParallelFor.h>
#include <tavrix/foundation/Tuple.h>

namespace tavrix::detail
{

/// A diagonal order of the nodes of a grid: +1 or -1 an axis.
using SweepDirection = Tuple3<int32, int32, int32>;

/// How the x planes of a grid are shared out to the workers of a sweep: slabs, and between each two of them
/// one plane, the seam.
///
/// A sweep first visits the slabs, in parallel, then the seams, in parallel. The slabs read the seams and the
/// seams the slabs' planes beside them, neither writes what the other pass of the same sweep reads while it
/// runs, so the outcome depends on the number of slabs but never on timing.
class SweepVolumes
{
public:
    SweepVolumes(uint32 planeCount, uint32 threadCount)
    {
        const uint64 slabs = std::max(1u, std::min(threadCount, planeCount / 2));
        const uint64 inSlabs = planeCount - (slabs - 1);
        uint32 begin = 0;
        for (uint64 s = 0; s < slabs; ++s)
        {
            const auto length = static_cast<uint32>((s + 1) * inSlabs / slabs - s * inSlabs / slabs);
            _slabs.push_back({begin, begin + length});
            begin += length + 1;
        }
    }

    uint32 workerCount() const { return static_cast<uint32>(_slabs.size()); }

    /// visit(worker, plane) for every plane once, the planes of a slab in the direction's order.
    template <class Visit>
    void sweep(const SweepDirection& direction, Visit visit) const
    {
        const uint32 workers = workerCount();
        parallelFor(workers, workers,
                    [&](uint32, uint64 w, uint64)
                    {
                        const auto [begin, end] = _slabs[w];
                        for (uint32 n = 0; n < end - begin; ++n)
                            visit(static_cast<uint32>(w), direction.a > 0 ? begin + n : end - 1 - n);
                    });
        parallelFor(workers - 1, workers - 1,
                    [&](uint32, uint64 w, uint64) { visit(static_cast<uint32>(w), _slabs[w].b); });
    }

private:
    std::vector<Tuple2<uint32, uint32>> _slabs;  ///< half open; the plane at the end of all but the last is
                                                 ///< a seam
};

}  // namespace tavrix::detail
