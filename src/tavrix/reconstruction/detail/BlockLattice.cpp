#include <tavrix/reconstruction/detail/BlockLattice.h>

#include <algorithm>

namespace tavrix::detail
{

namespace
{

constexpr double mostSteps = 2147483648.0;         // 2^31
constexpr double mostReach = 524288.0;             // 2^19
constexpr double farthestStep = 4503599627370496;  // 2^52

}  // namespace

void LatticeExtent::extend(const LatticeExtent& other)
{
    for (uint32 axis = 0; axis < 3; ++axis)
    {
        low[axis] = std::min(low[axis], other.low[axis]);
        high[axis] = std::max(high[axis], other.high[axis]);
        reach[axis] = std::max(reach[axis], other.reach[axis]);
    }
}

bool isCoverable(const LatticeExtent& extent)
{
    for (uint32 axis = 0; axis < 3; ++axis)
        if (!(extent.high[axis] - extent.low[axis] <= mostSteps && extent.reach[axis] <= mostReach &&
              extent.low[axis] >= -farthestStep && extent.high[axis] <= farthestStep))
            return false;
    return true;
}

BlockLattice latticeOver(const LatticeSteps& steps, const LatticeExtent& extent)
{
    BlockLattice lattice{steps, steps.largestSeparation, {}};
    for (uint32 axis = 0; axis < 3; ++axis)
    {
        const auto reach = static_cast<int64>(extent.reach[axis]) + 1 + latticeMargin;
        const int64 first = BlockLattice::stepBefore(extent.low[axis], 1) - reach - 1;
        lattice.firstNode[axis] = (first >> blockShift) * blockEdge;
    }
    return lattice;
}

}  // namespace tavrix::detail
