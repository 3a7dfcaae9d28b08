#pragma once

#include <algorithm>
#include <vector>

#include <tavrix/platform/Types.h>

namespace tavrix::detail
{

/// Cuts planes 0 … planeCount - 1 into slabs of about equal work, one a worker. Where the cuts lie decides
/// who does what, never what comes out.
class SlabCuts
{
public:
    explicit SlabCuts(uint32 planeCount) : _change(std::size_t{planeCount} + 1, 0) {}

    /// Adds work to each of the planes [low, high).
    void add(uint32 low, uint32 high, double work)
    {
        _change[low] += work;
        _change[high] -= work;
    }

    /// Where the slabs begin, and the plane count: at most a slab a worker and a slab a plane.
    std::vector<uint32> cut(uint32 workers) const
    {
        const auto planeCount = static_cast<uint32>(_change.size() - 1);
        std::vector<double> workUpTo(_change);
        double density = 0, total = 0;
        for (double& work : workUpTo)
        {
            density += work;
            work = total += density;
        }
        workers = std::clamp(workers, 1u, std::max(planeCount, 1u));
        std::vector<uint32> cuts{0};
        for (uint32 w = 1; w < workers; ++w)
        {
            uint32 plane = cuts.back();
            while (plane < planeCount && workUpTo[plane] < total * w / workers) ++plane;
            cuts.push_back(plane);
        }
        cuts.push_back(planeCount);
        return cuts;
    }

private:
    std::vector<double> _change;  ///< of the work, from the plane before
};

}  // namespace tavrix::detail
