#pragma once

#include <algorithm>
#include <vector>

#include <tavrix/fields/detail/LatticeNodes.h>
#include <tavrix/foundation/detail/RadixSort.h>

namespace tavrix::detail
{

/// A run of the sorted particles, and the nodes that they may touch.
struct ParticleGroup
{
    uint32 first, last;
    NodeBox nodes;
};

/// Monoindex of the cell at a place whose kernel reaches `nodesReached` along each axis, clamped to the
/// lattice; noIndex, which is above every monoindex, when it cannot touch the lattice.
uint32 cellOf(const LatticeNodes& lattice, const Vector3F& place, const double (&nodesReached)[3]);

template <class Kernel>
uint32 sortKey(const LatticeNodes& lattice, const Kernel& kernel, const typename Kernel::Particle& particle)
{
    if (!lattice.isAscending() || !kernel.isUsable(particle)) return noIndex;
    const double reached[] = {kernel.nodesReached(lattice, particle, 0),
                              kernel.nodesReached(lattice, particle, 1),
                              kernel.nodesReached(lattice, particle, 2)};
    return cellOf(lattice, {particle.x, particle.y, particle.z}, reached);
}

/// Those of the particles make(0), …, make(count - 1) that can touch the lattice, sorted by the monoindex of
/// their cell and then by number: a linear radix sort, and the same order for every thread count. Means
/// nothing once the polling has stopped.
template <class Kernel, class Make>
Array<typename Kernel::Particle> sortParticles(const LatticeNodes& lattice, const Kernel& kernel,
                                               uint32 count, uint32 threadCount, Polling& polling, Make make)
{
    Array<uint64> order(count);
    if (!inPieces(polling, count, scatteredItems, threadCount,
                  [&](uint32, uint64 begin, uint64 end)
                  {
                      for (uint64 n = begin; n < end; ++n)
                          order[n] = uint64{sortKey(lattice, kernel, make(static_cast<uint32>(n)))} << 32 | n;
                  }))
        return {};
    radixSortByUpperHalf(order, threadCount, polling);
    if (polling.isStopped()) return {};
    const auto firstUntouching = std::lower_bound(order.begin(), order.end(), uint64{noIndex} << 32);
    order.resize(static_cast<uint32>(firstUntouching - order.begin()));

    Array<typename Kernel::Particle> particles(order.size());
    inPieces(polling, order.size(), scatteredItems, threadCount,
             [&](uint32, uint64 begin, uint64 end)
             {
                 for (uint64 n = begin; n < end; ++n) particles[n] = make(static_cast<uint32>(order[n]));
             });
    return particles;
}

/// The nodes around a box: snapped outward to the lattice, widened by round(margin / separation) + 2 nodes;
/// none when a margin below 0 turns the box inside out, or is not a number.
NodeBox nodesAround(const LatticeNodes& lattice, const Box3F& box, float margin);

/// Cuts sorted particles into threadCount runs of equal length, the last taking the remainder. Each may touch
/// the nodes around its box, widened by the margin.
template <class Particle>
std::vector<ParticleGroup> groupParticles(const LatticeNodes& lattice, const Array<Particle>& particles,
                                          float margin, uint32 threadCount, Polling& polling)
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
    polledFor(polling, groups.size(), threadsWorth(particles.size(), lightItems, threadCount),
              [&](uint32, uint64 begin, uint64 end)
              {
                  for (uint64 g = begin; g < end; ++g)
                  {
                      Box3F box = Box3F::empty();
                      for (uint32 n = groups[g].first; n < groups[g].last;)
                      {
                          const uint32 stop = n + std::min<uint32>(lightItems, groups[g].last - n);
                          for (; n < stop; ++n) box.extend({particles[n].x, particles[n].y, particles[n].z});
                          if (!polling.goOn()) return;
                      }
                      groups[g].nodes = nodesAround(lattice, box, margin);
                  }
              });
    return groups;
}

}  // namespace tavrix::detail
