#pragma once

#include <algorithm>
#include <memory>
#include <vector>

#include <tavrix/fields/detail/SortedParticles.h>
#include <tavrix/fields/detail/SplatTarget.h>
#include <tavrix/foundation/detail/SlabCuts.h>

// Particles to field, in the same steps for every kernel: sort the particles by cell, group them, splat them,
// merge.
//
// The fields that are built anew are splatted into directly: each worker owns a slab of x planes, takes the
// sorted particles that reach it, in order, and writes only its slab. The fields that are carved need every
// group's sum or maximum by itself, so each group is splatted, in the same way, into a block of its own, and
// the blocks are subtracted at the end.
//
// A kernel has a type `Particle` with members x, y, z, and the members isUsable, nodesReached and splat that
// BallKernel (BallSplat.h) describes.

namespace tavrix::detail
{

/// Node visits that one worker makes between two polls: some milliseconds.
inline constexpr double visitsPerPoll = 2e6;

/// A box of samples on the lattice, z varying fastest.
template <class Value>
struct Block
{
    Value* samples;
    NodeBox nodes;

    std::size_t strideX() const { return std::size_t{extent(1)} * extent(2); }
    std::size_t strideY() const { return extent(2); }
    uint32 extent(uint32 axis) const { return nodes.high[axis] - nodes.low[axis]; }
    std::size_t placeOf(const uint32 (&node)[3]) const
    {
        return (node[0] - nodes.low[0]) * strideX() + (node[1] - nodes.low[1]) * strideY() +
               (node[2] - nodes.low[2]);
    }
};

/// False when the polling stopped it.
template <class Value>
bool fillZero(const Block<Value>& block, uint32 threadCount, Polling& polling)
{
    return inPieces(polling, block.strideX() * block.extent(0), lightItems, threadCount,
                    [&](uint32, uint64 begin, uint64 end)
                    { std::fill(block.samples + begin, block.samples + end, Value(0)); });
}

/// What one call of a setter works with.
template <class Kernel>
struct Splatting
{
    using Particle = typename Kernel::Particle;

    const LatticeNodes& lattice;
    const Array<Particle>& particles;
    const Kernel& kernel;
    uint32 threadCount;
    Polling& polling;

    /// Nodes along an axis on either side of a particle's cell that it may touch.
    uint32 reach(const Particle& p, uint32 axis) const
    {
        const double nodes = kernel.nodesReached(lattice, p, axis) + 1;
        return nodes < lattice.size[axis] ? static_cast<uint32>(nodes) : lattice.size[axis];
    }
};

/// Cuts the x planes [low, high) into one slab a worker, so that the particles of [first, last) give each
/// about the same number of rows to write.
template <class Kernel>
std::vector<uint32> cutSlabs(const Splatting<Kernel>& s, uint32 low, uint32 high, uint32 first, uint32 last,
                             uint32 threadCount)
{
    if (threadCount <= 1 || high - low <= 1) return {low, high};
    SlabCuts slabs(high - low);
    const auto planeOf = [&](int64 i) { return static_cast<uint32>(std::clamp<int64>(i, low, high) - low); };
    inPieces(s.polling, last - first, scatteredItems,
             [&](uint64 begin, uint64 end)
             {
                 for (uint64 n = first + begin; n < first + end; ++n)
                 {
                     const auto& p = s.particles[n];
                     const int64 cell = s.lattice.clampedCell(0, p.x), reach = s.reach(p, 0);
                     slabs.add(planeOf(cell - reach), planeOf(cell + reach + 1),
                               static_cast<double>(s.reach(p, 1)) * s.reach(p, 2));
                 }
             });
    std::vector<uint32> cuts = slabs.cut(threadCount);
    for (uint32& cut : cuts) cut += low;
    return cuts;
}

/// The particles of [first, last) that may touch the x planes [low, high).
template <class Kernel>
std::pair<uint32, uint32> particlesNear(const Splatting<Kernel>& s, uint32 low, uint32 high, uint32 first,
                                        uint32 last, uint32 largestReach)
{
    using Particle = typename Kernel::Particle;
    const Particle* begin = s.particles.data() + first;
    const Particle* end = s.particles.data() + last;
    const auto from = std::partition_point(
        begin, end,
        [&](const Particle& p) { return uint64{s.lattice.clampedCell(0, p.x)} + largestReach < low; });
    const auto to = std::partition_point(
        from, end,
        [&](const Particle& p) { return s.lattice.clampedCell(0, p.x) < uint64{high} + largestReach; });
    return {static_cast<uint32>(from - s.particles.data()), static_cast<uint32>(to - s.particles.data())};
}

/// Splats the sorted particles [first, last) into those nodes of the block that lie in the slab [low, high)
/// of x planes and in the nodes of the particles' groups.
template <class Value, class Kernel>
void splatIntoSlab(const Splatting<Kernel>& s, const std::vector<ParticleGroup>& groups,
                   const Block<Value>& block, uint32 low, uint32 high, uint32 first, uint32 last,
                   double* scratch)
{
    for (const ParticleGroup& group : groups)
    {
        const uint32 from = std::max(first, group.first), to = std::min(last, group.last);
        if (from >= to) continue;
        SplatTarget<Value> target{};
        target.samples = block.samples;
        target.rowLength = block.extent(2);
        target.strideX = block.strideX();
        target.strideY = block.strideY();
        for (uint32 axis = 0; axis < 3; ++axis)
        {
            target.rowStart[axis] = block.nodes.low[axis];
            target.low[axis] = std::max(group.nodes.low[axis], axis == 0 ? low : block.nodes.low[axis]);
            target.high[axis] = std::min(group.nodes.high[axis], axis == 0 ? high : block.nodes.high[axis]);
            target.nodes[axis] = s.lattice.nodes[axis].data();
            target.origin[axis] = s.lattice.nodes[axis][0];
            target.reciprocal[axis] = s.lattice.reciprocal[axis];
        }
        target.largestSeparation = s.lattice.largestSeparation;
        target.scratch = scratch;
        s.kernel.splat(target, s.particles.data() + from, to - from);
    }
}

/// Splats the particles of the groups, which follow each other, into the block, every worker into a slab of
/// its own; false when the polling stopped the work.
template <class Value, class Kernel>
bool splatIntoBlock(const Splatting<Kernel>& s, const std::vector<ParticleGroup>& groups,
                    const Block<Value>& block)
{
    if (groups.empty()) return s.polling.goOn();
    const uint32 first = groups.front().first, last = groups.back().last;
    uint32 largestReach = 0;
    double visits = 0;
    inPieces(s.polling, last - first, scatteredItems,
             [&](uint64 begin, uint64 end)
             {
                 for (uint64 n = first + begin; n < first + end; ++n)
                 {
                     largestReach = std::max(largestReach, s.reach(s.particles[n], 0));
                     double nodes = 1;
                     for (uint32 axis = 0; axis < 3; ++axis)
                         nodes *=
                             std::min<double>(2.0 * s.reach(s.particles[n], axis) + 1, s.lattice.size[axis]);
                     visits += nodes;
                 }
             });
    if (s.polling.isStopped()) return false;
    const uint32 threads = threadsWorth(static_cast<uint64>(std::min(visits, 1e18)),
                                        static_cast<uint64>(visitsPerPoll), s.threadCount);
    const std::vector<uint32> slabs =
        cutSlabs(s, block.nodes.low[0], block.nodes.high[0], first, last, threads);
    if (s.polling.isStopped()) return false;
    const auto workers = static_cast<uint32>(slabs.size() - 1);
    const auto pieces =
        static_cast<uint32>(std::clamp(visits / workers / visitsPerPoll, 0.0, double(last - first)) + 1);
    return polledFor(
        s.polling, workers, workers,
        [&](uint32, uint64 w, uint64)
        {
            const std::unique_ptr<double[]> scratch(new double[std::size_t{block.extent(2)} + 16]);
            const auto [from, to] = particlesNear(s, slabs[w], slabs[w + 1], first, last, largestReach);
            const uint64 count = to - from;
            for (uint32 piece = 0; piece < pieces; ++piece)
            {
                splatIntoSlab(s, groups, block, slabs[w], slabs[w + 1],
                              static_cast<uint32>(from + count * piece / pieces),
                              static_cast<uint32>(from + count * (piece + 1) / pieces), scratch.get());
                if (!s.polling.goOn()) return;
            }
        });
}

/// All samples of a grid as a block.
template <class Value, class Coord>
Block<Value> wholeGrid(const GridDescription3<Coord>& grid, Value* samples)
{
    return {samples, {{0, 0, 0}, {grid.sizeX, grid.sizeY, grid.sizeZ}}};
}

/// Replaces the samples of a grid by the splatted particles make(0), …, make(count - 1); false, and all
/// samples zero, when the callback stopped the work.
template <class Value, class Coord, class Kernel, class Make>
bool buildSamples(const GridDescription3<Coord>& grid, Value* samples, const Kernel& kernel, uint32 count,
                  float margin, uint32 threadCount, CancelCallback callback, Make make)
{
    const LatticeNodes lattice(grid);
    const Block<Value> target = wholeGrid(grid, samples);
    Polling polling(callback);
    const auto build = [&]
    {
        if (!polling.goOn() || !fillZero(target, threadCount, polling)) return false;
        const auto particles = sortParticles(lattice, kernel, count, threadCount, polling, make);
        if (polling.isStopped()) return false;
        const auto groups = groupParticles(lattice, particles, margin, threadCount, polling);
        const Splatting<Kernel> splatting{lattice, particles, kernel, threadCount, polling};
        return !polling.isStopped() && splatIntoBlock(splatting, groups, target);
    };
    if (build()) return true;
    Polling none(nullptr);
    fillZero(target, threadCount, none);
    return false;
}

/// Calls change(target samples, block samples, count) for the rows of the x planes [begin, end) of the block,
/// which lies in the target.
template <class Value, class Change>
void forEachRow(const Block<Value>& target, const Block<Value>& block, uint64 begin, uint64 end,
                Change change)
{
    for (uint64 i = begin; i < end; ++i)
        for (uint32 j = 0; j < block.extent(1); ++j)
            change(target.samples + target.placeOf(block.nodes.low) + i * target.strideX() +
                       j * target.strideY(),
                   block.samples + i * block.strideX() + j * block.strideY(), block.extent(2));
}

/// x planes of a block that are handled between two polls.
template <class Value>
uint64 planesPerPoll(const Block<Value>& block)
{
    return lightItems / std::max<std::size_t>(block.strideX(), 1);
}

/// Makes every sample of the target what merge(target sample, block sample) says for the nodes of the block,
/// each worker on x planes of its own. False when the polling stopped it.
template <class Value, class Merge>
bool mergeBlock(const Block<Value>& target, const Block<Value>& block, uint32 threadCount, Polling& polling,
                Merge merge)
{
    const auto mergeRow = [&](Value* to, const Value* from, uint32 count)
    {
        for (uint32 k = 0; k < count; ++k) to[k] = merge(to[k], from[k]);
    };
    return inPieces(polling, block.extent(0), planesPerPoll(block), threadCount,
                    [&](uint32, uint64 begin, uint64 end)
                    { forEachRow(target, block, begin, end, mergeRow); });
}

/// mergeBlock for one block after another. The blocks take the samples that they replace, so that a stop can
/// leave the target as it was.
template <class Value, class Merge>
bool mergeBlocks(const Block<Value>& target, const std::vector<Block<Value>>& blocks, uint32 threadCount,
                 Polling& polling, Merge merge)
{
    const auto exchangeRow = [&](Value* to, Value* from, uint32 count)
    {
        for (uint32 k = 0; k < count; ++k)
        {
            const Value old = to[k];
            to[k] = merge(old, from[k]);
            from[k] = old;
        }
    };
    const auto restoreRow = [](Value* to, Value* from, uint32 count) { std::copy_n(from, count, to); };
    std::vector<std::vector<uint8>> isMerged;
    for (const Block<Value>& block : blocks)
    {
        std::vector<uint8>& planes = isMerged.emplace_back(block.extent(0), uint8{0});
        if (!inPieces(polling, block.extent(0), planesPerPoll(block), threadCount,
                      [&](uint32, uint64 begin, uint64 end)
                      {
                          forEachRow(target, block, begin, end, exchangeRow);
                          for (uint64 i = begin; i < end; ++i) planes[i] = 1;
                      }))
            break;
    }
    if (!polling.isStopped()) return true;
    for (std::size_t b = isMerged.size(); b-- > 0;)
        for (uint64 i = 0; i < isMerged[b].size(); ++i)
            if (isMerged[b][i]) forEachRow(target, blocks[b], i, i + 1, restoreRow);
    return false;
}

/// Splats every group into a block of its own and merges the blocks into the samples, in group order; false,
/// and the samples as they were, when the callback stopped the work.
template <class Value, class Coord, class Kernel, class Make, class Merge>
bool carveSamples(const GridDescription3<Coord>& grid, Value* samples, const Kernel& kernel, uint32 count,
                  float margin, uint32 threadCount, CancelCallback callback, Make make, Merge merge)
{
    const LatticeNodes lattice(grid);
    Polling polling(callback);
    if (!polling.goOn()) return false;
    const auto particles = sortParticles(lattice, kernel, count, threadCount, polling, make);
    if (polling.isStopped()) return false;
    const auto groups = groupParticles(lattice, particles, margin, threadCount, polling);
    if (polling.isStopped()) return false;
    const Splatting<Kernel> splatting{lattice, particles, kernel, threadCount, polling};
    std::vector<Block<Value>> blocks;
    std::vector<Array<Value>> storage;
    for (const ParticleGroup& group : groups)
    {
        Block<Value> block{nullptr, group.nodes};
        if (block.extent(0) == 0 || block.extent(1) == 0 || block.extent(2) == 0) continue;
        storage.emplace_back(static_cast<uint32>(block.strideX() * block.extent(0)));
        block.samples = storage.back().data();
        if (!fillZero(block, threadCount, polling) || !splatIntoBlock(splatting, {group}, block))
            return false;
        blocks.push_back(block);
    }
    return mergeBlocks(wholeGrid(grid, samples), blocks, threadCount, polling, merge);
}

/// What a carving field leaves of a sample where its own value is v: distance-like fields cut only where both
/// are above 0, sums wherever v is.
template <class Value>
Value carveDistance(Value sample, Value v)
{
    return v > 0 && sample > 0 ? sample - v : sample;
}
template <class Value>
Value carveSum(Value sample, Value v)
{
    return v > 0 ? sample - v : sample;
}

}  // namespace tavrix::detail
