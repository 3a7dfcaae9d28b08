#include <tavrix/fields/detail/SortedParticles.h>

#include <algorithm>
#include <cmath>

#include <tavrix/foundation/detail/RadixSort.h>
#include <tavrix/foundation/ParallelFor.h>

namespace tavrix::detail
{

template <class Coord>
Lattice::Lattice(const GridDescription3<Coord>& grid) : largestSeparation(grid.largestSeparation)
{
    for (uint32 axis = 0; axis < 3; ++axis)
    {
        size[axis] = grid.sizeAlong(axis);
        reciprocal[axis] = grid.reciprocalSeparation[axis];
        nodes[axis].resize(size[axis]);
        for (uint32 n = 0; n < size[axis]; ++n) nodes[axis][n] = grid.getCoordinate(axis, n);
    }
}

template Lattice::Lattice(const GridDescription3<float>&);
template Lattice::Lattice(const GridDescription3<double>&);

namespace
{

/// The sort key of a particle that touches nothing; larger than every monoindex.
constexpr uint32 untouching = noIndex;

uint32 sortKey(const Lattice& lattice, const Vector3F& position, float radius, float kernelReach)
{
    const float reach = radius * kernelReach;
    if (!(radius > 0 && reach > 0) || !std::isfinite(reach * reach)) return untouching;
    const double margin = std::min(double{reach} / lattice.largestSeparation, maxReachInNodes) + 2;
    uint32 cell[3];
    for (uint32 axis = 0; axis < 3; ++axis)
    {
        const double coordinate = position[axis];
        const double steps = (coordinate - lattice.nodes[axis][0]) * lattice.reciprocal[axis];
        if (!(steps >= -margin && steps <= lattice.size[axis] + margin)) return untouching;
        cell[axis] = lattice.clampedCell(axis, coordinate);
    }
    return (cell[0] * lattice.size[1] + cell[1]) * lattice.size[2] + cell[2];
}

}  // namespace

Array<Particle> sortParticles(const Lattice& lattice, const Array<Vector3F>& positions,
                              const Array<float>& radii, float kernelReach, uint32 threadCount)
{
    Array<uint64> order(std::min(positions.size(), radii.size()));
    parallelFor(order.size(), threadCount,
                [&](uint32, uint64 begin, uint64 end)
                {
                    for (uint64 n = begin; n < end; ++n)
                        order[n] = uint64{sortKey(lattice, positions[n], radii[n], kernelReach)} << 32 | n;
                });
    radixSortByUpperHalf(order, threadCount);
    const auto firstUntouching = std::lower_bound(order.begin(), order.end(), uint64{untouching} << 32);
    order.resize(static_cast<uint32>(firstUntouching - order.begin()));

    Array<Particle> particles(order.size());
    parallelFor(order.size(), threadCount,
                [&](uint32, uint64 begin, uint64 end)
                {
                    for (uint64 n = begin; n < end; ++n)
                    {
                        const auto index = static_cast<uint32>(order[n]);
                        const Vector3F& p = positions[index];
                        particles[n] = {p.x, p.y, p.z, radii[index]};
                    }
                });
    return particles;
}

namespace
{

/// The nodes around the box of some particles.
NodeBox nodesAround(const Lattice& lattice, const Particle* begin, const Particle* end, float margin)
{
    Box3F box = Box3F::empty();
    for (const Particle* p = begin; p != end; ++p) box.extend({p->x, p->y, p->z});
    NodeBox nodes{};
    for (uint32 axis = 0; axis < 3; ++axis)
    {
        const double size = lattice.size[axis], origin = lattice.nodes[axis][0];
        const double widening = std::round(double{margin} * lattice.reciprocal[axis]) + 2;
        const double low = std::floor((box.min[axis] - origin) * lattice.reciprocal[axis]) - widening;
        const double high = std::ceil((box.max[axis] - origin) * lattice.reciprocal[axis]) + widening + 1;
        nodes.low[axis] = static_cast<uint32>(low > 0 ? std::min(low, size) : 0);
        nodes.high[axis] = static_cast<uint32>(high > 0 ? std::min(high, size) : 0);
    }
    return nodes;
}

}  // namespace

std::vector<ParticleGroup> groupParticles(const Lattice& lattice, const Array<Particle>& particles,
                                          float margin, uint32 threadCount)
{
    const uint32 groupCount = std::max(threadCount, 1u);
    const uint32 each = particles.size() / groupCount;
    std::vector<ParticleGroup> groups;
    for (uint32 g = each == 0 ? groupCount - 1 : 0; g < groupCount; ++g)
    {
        const uint32 first = g * each;
        const uint32 last = g + 1 == groupCount ? particles.size() : first + each;
        if (first != last) groups.push_back({first, last, {}});
    }
    parallelFor(groups.size(), threadCount,
                [&](uint32, uint64 begin, uint64 end)
                {
                    for (uint64 g = begin; g < end; ++g)
                        groups[g].nodes = nodesAround(lattice, particles.data() + groups[g].first,
                                                      particles.data() + groups[g].last, margin);
                });
    return groups;
}

}  // namespace tavrix::detail
