#include <tavrix/fields/detail/SortedParticles.h>

#include <cmath>

#include <tavrix/fields/detail/BallSplat.h>

namespace tavrix::detail
{

uint32 cellOf(const LatticeNodes& lattice, const Vector3F& place, const double (&nodesReached)[3])
{
    uint32 cell[3];
    for (uint32 axis = 0; axis < 3; ++axis)
    {
        const double margin = std::min(nodesReached[axis], maxReachInNodes) + 2;
        const double coordinate = place[axis];
        const double steps = (coordinate - lattice.nodes[axis][0]) * lattice.reciprocal[axis];
        if (!(steps >= -margin && steps <= lattice.size[axis] + margin)) return noIndex;
        cell[axis] = lattice.clampedCell(axis, coordinate);
    }
    return (cell[0] * lattice.size[1] + cell[1]) * lattice.size[2] + cell[2];
}

NodeBox nodesAround(const LatticeNodes& lattice, const Box3F& box, float margin)
{
    NodeBox nodes{};
    for (uint32 axis = 0; axis < 3; ++axis)
    {
        const double size = lattice.size[axis], origin = lattice.nodes[axis][0];
        const double widening = std::round(double{margin} * lattice.reciprocal[axis]) + 2;
        const double low = std::floor((box.min[axis] - origin) * lattice.reciprocal[axis]) - widening;
        const double high = std::ceil((box.max[axis] - origin) * lattice.reciprocal[axis]) + widening + 1;
        nodes.low[axis] = static_cast<uint32>(low > 0 ? std::min(low, size) : 0);
        nodes.high[axis] =
            static_cast<uint32>(high > nodes.low[axis] ? std::min(high, size) : nodes.low[axis]);
    }
    return nodes;
}

}  // namespace tavrix::detail
