#pragma once

#include <algorithm>
#include <bit>
#include <limits>
#include <vector>

#include <tavrix/foundation/detail/RadixSort.h>
#include <tavrix/foundation/detail/SortOnce.h>
#include <tavrix/foundation/Vector3.h>
#include <tavrix/reconstruction/detail/BlockLattice.h>

// Particles sorted by the block in which they lie, and within a block by buckets of a few cells, so that a
// block finds those that reach it by looking at its neighbours. Memory is linear in the particles, wherever
// they lie.

namespace tavrix::detail
{

inline constexpr uint32 bucketShift = 3, bucketEdge = 1u << bucketShift;
static_assert(bucketEdge <= latticeMargin, "a bucket begins that much before its particles");

/// A run of the sorted particles that lie in the same bucket of a block. It ends where the next begins.
struct ParticleBucket
{
    uint32 begin;
    uint8 low[3];  ///< the bucket's first cell in its block
};

/// A block in which particles lie. Its buckets end where those of the next begin.
struct HomeBlock
{
    BlockIndex block;
    uint32 firstBucket;
};

/// The particles of a scene in their blocks.
template <class Kernel>
struct ParticleBlocks
{
    using Particle = typename Kernel::Particle;

    BlockLattice lattice;
    uint32 reach[3];  ///< nodes on either side of its cell that a particle may touch
    Array<Particle> particles;
    std::vector<ParticleBucket> buckets;  ///< and one at the end that begins behind all particles
    std::vector<HomeBlock> homes;         ///< ascending, and one at the end that begins behind all buckets

    std::size_t homeCount() const { return homes.size() - 1; }
    /// The first particle of a home, or the one behind the last.
    uint32 firstOf(std::size_t home) const { return buckets[homes[home].firstBucket].begin; }
    double bytes() const
    {
        return static_cast<double>(particles.size() * sizeof(Particle) +
                                   buckets.size() * sizeof(ParticleBucket) +
                                   homes.size() * sizeof(HomeBlock));
    }
    /// As many of the threads as are worth their start for work on all blocks, of which the samples take what
    /// a hundred particles take, besides.
    uint32 threadsWorth(uint32 threadCount) const
    {
        constexpr uint64 blockWork = 100, workPerPiece = 1 << 12;
        return detail::threadsWorth(particles.size() + blockWork * homeCount(), workPerPiece, threadCount);
    }
};

/// The numbers by which particles are sorted into buckets, the most significant last: as few as hold all
/// bits.
class BucketKeys
{
public:
    explicit BucketKeys(const BlockIndex& lastHome);

    uint32 count() const { return _count; }
    /// The number of a particle that lies in these cells; below noIndex.
    uint32 operator()(uint32 number, const std::array<uint32, 3>& cell) const;

private:
    uint32 _bits[3];
    uint32 _count;
};

/// Whether a particle takes part.
template <class Kernel>
bool isPlaced(const Kernel& kernel, const typename Kernel::Particle& p)
{
    return kernel.isUsable(p) && isFinite(Vector3F{p.x, p.y, p.z});
}

/// Measures the particles make(0), …, make(count - 1). Means nothing once the polling has stopped.
template <class Kernel, class Make>
LatticeExtent measureExtent(const LatticeSteps& steps, const Kernel& kernel, uint32 count, uint32 threadCount,
                            Polling& polling, Make make)
{
    constexpr double infinity = std::numeric_limits<double>::infinity();
    constexpr LatticeExtent none{{infinity, infinity, infinity}, {-infinity, -infinity, -infinity}, {}};
    std::vector<LatticeExtent> parts(std::max(threadCount, 1u), none);
    inPieces(polling, count, lightItems, threadCount,
             [&](uint32 worker, uint64 begin, uint64 end)
             {
                 LatticeExtent part = parts[worker];
                 for (uint64 n = begin; n < end; ++n)
                 {
                     const auto p = make(static_cast<uint32>(n));
                     if (!isPlaced(kernel, p)) continue;
                     const float place[] = {p.x, p.y, p.z};
                     for (uint32 axis = 0; axis < 3; ++axis)
                     {
                         const double step = place[axis] * steps.reciprocal[axis];
                         const double reach = kernel.nodesReached(steps, p, axis);
                         part.low[axis] = std::min(part.low[axis], step);
                         part.high[axis] = std::max(part.high[axis], step);
                         part.reach[axis] = std::max(part.reach[axis], reach);
                     }
                 }
                 parts[worker] = part;
             });
    LatticeExtent all = none;
    for (const LatticeExtent& part : parts) all.extend(part);
    return all;
}

template <class Particle>
std::array<uint32, 3> cellOf(const BlockLattice& lattice, const Particle& p)
{
    return {lattice.cellAlong(0, p.x), lattice.cellAlong(1, p.y), lattice.cellAlong(2, p.z)};
}

/// The numbers of the particles that take part, by bucket and then ascending.
template <class Kernel, class Make>
Array<uint64> sortByBucket(const BlockLattice& lattice, const BucketKeys& keys, const Kernel& kernel,
                           uint32 count, uint32 threadCount, Polling& polling, Make make)
{
    Array<uint64> order(count);
    for (uint32 key = 0; key < keys.count() && !polling.isStopped(); ++key)
    {
        inPieces(polling, count, scatteredItems, threadCount,
                 [&](uint32, uint64 begin, uint64 end)
                 {
                     for (uint64 n = begin; n < end; ++n)
                     {
                         const auto number = static_cast<uint32>(key == 0 ? n : order[n]);
                         const auto particle = make(number);
                         const uint32 bits =
                             isPlaced(kernel, particle) ? keys(key, cellOf(lattice, particle)) : noIndex;
                         order[n] = uint64{bits} << 32 | number;
                     }
                 });
        if (!polling.isStopped()) radixSortByUpperHalf(order, threadCount, polling);
    }
    const auto end = std::lower_bound(order.begin(), order.end(), uint64{noIndex} << 32);
    order.resize(static_cast<uint32>(end - order.begin()));
    return order;
}

/// The homes and buckets that begin in a run of the sorted particles.
template <class Particle>
void listHomes(const BlockLattice& lattice, const Array<Particle>& particles, uint32 begin, uint32 end,
               std::vector<HomeBlock>& homes, std::vector<ParticleBucket>& buckets)
{
    constexpr uint32 inBlock = blockEdge - 1, toBucket = ~(bucketEdge - 1);
    std::array<uint32, 3> last{};
    if (begin > 0) last = cellOf(lattice, particles[begin - 1]);
    for (uint32 n = begin; n < end; ++n)
    {
        const std::array<uint32, 3> cell = cellOf(lattice, particles[n]);
        uint32 change = n == 0 ? noIndex : 0;
        for (uint32 axis = 0; axis < 3; ++axis) change |= cell[axis] ^ last[axis];
        last = cell;
        if (change >> bucketShift == 0) continue;
        if (change >> blockShift != 0)
            homes.push_back({{cell[0] >> blockShift, cell[1] >> blockShift, cell[2] >> blockShift},
                             static_cast<uint32>(buckets.size())});
        ParticleBucket bucket{n, {}};
        for (uint32 axis = 0; axis < 3; ++axis)
            bucket.low[axis] = static_cast<uint8>(cell[axis] & inBlock & toBucket);
        buckets.push_back(bucket);
    }
}

/// Lists all homes and buckets, every worker those of a run of its own.
template <class Kernel>
void listHomes(ParticleBlocks<Kernel>& blocks, uint32 threadCount, Polling& polling)
{
    const uint64 count = blocks.particles.size();
    const auto workers = static_cast<uint32>(std::clamp<uint64>(count / 4096, 1, std::max(threadCount, 1u)));
    std::vector<std::vector<HomeBlock>> homes(workers);
    std::vector<std::vector<ParticleBucket>> buckets(workers);
    polledFor(polling, workers, workers,
              [&](uint32, uint64 w, uint64)
              {
                  listHomes(blocks.lattice, blocks.particles, static_cast<uint32>(count * w / workers),
                            static_cast<uint32>(count * (w + 1) / workers), homes[w], buckets[w]);
              });
    for (uint32 w = 0; w < workers; ++w)
    {
        for (HomeBlock& home : homes[w]) home.firstBucket += static_cast<uint32>(blocks.buckets.size());
        blocks.homes.insert(blocks.homes.end(), homes[w].begin(), homes[w].end());
        blocks.buckets.insert(blocks.buckets.end(), buckets[w].begin(), buckets[w].end());
    }
    blocks.homes.push_back({{noIndex, noIndex, noIndex}, static_cast<uint32>(blocks.buckets.size())});
    blocks.buckets.push_back({blocks.particles.size(), {}});
}

/// Sorts those of the particles make(0), …, make(count - 1) that take part, whose extent is coverable and not
/// empty; those of a bucket keep their order. Linear. Means nothing once the polling has stopped.
template <class Kernel, class Make>
ParticleBlocks<Kernel> sortIntoBlocks(const LatticeSteps& steps, const LatticeExtent& extent,
                                      const Kernel& kernel, uint32 count, uint32 threadCount,
                                      Polling& polling, Make make)
{
    ParticleBlocks<Kernel> blocks{latticeOver(steps, extent), {}, {}, {}, {}};
    BlockIndex lastHome;
    for (uint32 axis = 0; axis < 3; ++axis)
    {
        blocks.reach[axis] = static_cast<uint32>(extent.reach[axis] + 1);
        const double last = extent.high[axis] - static_cast<double>(blocks.lattice.firstNode[axis]);
        lastHome[axis] = static_cast<uint32>(last) >> blockShift;
    }
    const Array<uint64> order =
        sortByBucket(blocks.lattice, BucketKeys(lastHome), kernel, count, threadCount, polling, make);
    blocks.particles.resize(order.size());
    inPieces(polling, order.size(), scatteredItems, threadCount,
             [&](uint32, uint64 begin, uint64 end)
             {
                 for (uint64 n = begin; n < end; ++n)
                     blocks.particles[n] = make(static_cast<uint32>(order[n]));
             });
    listHomes(blocks, threadCount, polling);
    return blocks;
}

/// A box of blocks, closed.
struct BlockRange
{
    BlockIndex first, last;

    double volume() const
    {
        double product = 1;
        for (uint32 axis = 0; axis < 3; ++axis) product *= last[axis] - first[axis] + 1.0;
        return product;
    }
};

/// The blocks that the particles of a home may reach.
template <class Kernel>
BlockRange blocksReachedFrom(const ParticleBlocks<Kernel>& particles, std::size_t h)
{
    const HomeBlock& home = particles.homes[h];
    BlockRange range{{noIndex, noIndex, noIndex}, {0, 0, 0}};
    for (uint32 b = home.firstBucket; b < particles.homes[h + 1].firstBucket; ++b)
        for (uint32 axis = 0; axis < 3; ++axis)
        {
            const uint32 cell = home.block[axis] * blockEdge + particles.buckets[b].low[axis];
            const uint32 reach = particles.reach[axis];
            range.first[axis] = std::min(range.first[axis], (cell - reach - 1) >> blockShift);
            range.last[axis] = std::max(range.last[axis], (cell + bucketEdge - 1 + reach) >> blockShift);
        }
    return range;
}

/// How many blocks the homes reach, those that several reach counted as often.
template <class Kernel>
double countBlocksReached(const ParticleBlocks<Kernel>& particles)
{
    double count = 0;
    for (std::size_t h = 0; h < particles.homeCount(); ++h) count += blocksReachedFrom(particles, h).volume();
    return count;
}

/// The blocks that the particles of those homes may reach for which counts(block) holds, ascending.
template <class Kernel, class Counts>
std::vector<BlockIndex> blocksReached(const ParticleBlocks<Kernel>& particles, Counts counts)
{
    std::vector<BlockIndex> reached;
    reached.reserve(static_cast<std::size_t>(countBlocksReached(particles)));
    for (std::size_t h = 0; h < particles.homeCount(); ++h)
    {
        if (!counts(particles.homes[h].block)) continue;
        const auto [first, last] = blocksReachedFrom(particles, h);
        for (uint32 i = first[0]; i <= last[0]; ++i)
            for (uint32 j = first[1]; j <= last[1]; ++j)
                for (uint32 k = first[2]; k <= last[2]; ++k) reached.push_back({i, j, k});
    }
    sortOnce(reached);
    return reached;
}
/// Those that any particle may reach.
template <class Kernel>
std::vector<BlockIndex> blocksReached(const ParticleBlocks<Kernel>& particles)
{
    return blocksReached(particles, [](const BlockIndex&) { return true; });
}

}  // namespace tavrix::detail
