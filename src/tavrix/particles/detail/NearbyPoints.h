#pragma once

#include <vector>

#include <tavrix/foundation/Array.h>
#include <tavrix/particles/NeighbourGrid.h>

namespace tavrix::detail
{

/// The points of a grid that are near a box, side by side for kernels, which look at eight at a time: points
/// beyond the reach of every place in the box fill the last eight.
class NearbyPoints
{
public:
    static constexpr uint32 atOnce = 8;

    /// Collects the points closer to the box than the reach; false when there are none.
    bool gather(const NeighbourGrid& grid, const Box3F& box, double reach);

    /// One array an axis, of paddedSize().
    const float* coordinates(uint32 axis) const { return _coordinates[axis].data(); }
    /// The points' numbers among the sorted points of the grid.
    const Array<uint32>& numbers() const { return _numbers; }
    uint32 paddedSize() const { return _coordinates[0].size(); }

private:
    std::vector<NeighbourGrid::Run> _runs;
    Array<uint32> _numbers;
    Array<float> _coordinates[3];
};

/// The box around a run of sorted points.
Box3F boxAround(const NeighbourGrid& grid, NeighbourGrid::Run run);

}  // namespace tavrix::detail
