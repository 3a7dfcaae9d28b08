#include <algorithm>
#include <memory>

#include <tavrix/fields/detail/ParticleSplat.h>
#include <tavrix/fields/detail/SortedParticles.h>
#include <tavrix/fields/ScalarField3.h>
#include <tavrix/foundation/ParallelFor.h>

// Particles to field, in the same steps for every setter: sort the particles by cell, group them, splat them,
// merge.
//
// The fields that are built anew are splatted into directly: each worker owns a slab of x planes, takes the
// sorted particles that reach it, in order, and writes only its slab. The fields that are carved need every
// group's sum or maximum by itself, so each group is splatted, in the same way, into a block of its own, and
// the blocks are subtracted at the end.

namespace tavrix
{

using detail::Lattice;
using detail::NodeBox;
using detail::Particle;
using detail::ParticleGroup;
using detail::SplatKernel;

namespace
{

/// Node visits that one worker makes between two polls of the callback: some tens of milliseconds.
constexpr double visitsPerPoll = 3e7;

/// A box of samples on the lattice, z varying fastest.
template <class Value>
struct Block
{
    Value* samples;
    NodeBox nodes;

    std::size_t strideX() const { return std::size_t{extent(1)} * extent(2); }
    std::size_t strideY() const { return extent(2); }
    uint32 extent(uint32 axis) const { return nodes.high[axis] - nodes.low[axis]; }
};

template <class Value>
void fillZero(const Block<Value>& block, uint32 threadCount)
{
    const std::size_t plane = block.strideX();
    parallelFor(block.extent(0), threadCount,
                [&](uint32, uint64 begin, uint64 end)
                { std::fill(block.samples + begin * plane, block.samples + end * plane, Value(0)); });
}

/// What one call of a setter works with.
struct Splatting
{
    const Lattice& lattice;
    const Array<Particle>& particles;
    const SplatKernel& kernel;
    uint32 threadCount;
    CancelCallback callback;

    /// Planes on either side of a particle's cell that it may touch.
    uint32 reachInPlanes(const Particle& p) const
    {
        const double planes = p.r * kernel.reach / lattice.largestSeparation + 1;
        return planes < lattice.size[0] ? static_cast<uint32>(planes) : lattice.size[0];
    }
};

/// Cuts the x planes [low, high) into one slab a worker, so that the particles of [first, last) give each
/// about the same number of planes to write.
std::vector<uint32> cutSlabs(const Splatting& s, uint32 low, uint32 high, uint32 first, uint32 last)
{
    std::vector<int64> work(std::size_t{s.lattice.size[0]} + 1, 0);
    for (uint32 n = first; n < last; ++n)
    {
        const Particle& p = s.particles[n];
        const uint32 cell = s.lattice.clampedCell(0, p.x), reach = s.reachInPlanes(p);
        const int64 width = std::min(reach, 4096u);  // keeps the sums in range
        const int64 rows = width * width;
        work[cell > reach ? cell - reach : 0] += rows;
        work[std::min<uint64>(uint64{cell} + reach + 1, s.lattice.size[0])] -= rows;
    }
    int64 density = 0, total = 0;
    for (uint32 i = 0; i < s.lattice.size[0]; ++i)
    {
        density += work[i];
        if (i >= low && i < high) total += density;
        work[i] = total;
    }
    const uint32 workers = std::clamp(s.threadCount, 1u, std::max(high - low, 1u));
    std::vector<uint32> cuts{low};
    for (uint32 w = 1; w < workers; ++w)
    {
        const auto goal = static_cast<double>(total) * w / workers;
        uint32 cut = std::max(cuts.back(), low);
        while (cut < high && static_cast<double>(work[cut]) < goal) ++cut;
        cuts.push_back(cut);
    }
    cuts.push_back(high);
    return cuts;
}

/// The particles of [first, last) that may touch the x planes [low, high).
std::pair<uint32, uint32> particlesNear(const Splatting& s, uint32 low, uint32 high, uint32 first,
                                        uint32 last, uint32 largestReach)
{
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
template <class Value>
void splatIntoSlab(const Splatting& s, const std::vector<ParticleGroup>& groups, const Block<Value>& block,
                   uint32 low, uint32 high, uint32 first, uint32 last, double* scratch)
{
    const auto splat = detail::splatFunction<Value>();
    for (const ParticleGroup& group : groups)
    {
        const uint32 from = std::max(first, group.first), to = std::min(last, group.last);
        if (from >= to) continue;
        detail::SplatTarget<Value> target{};
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
            target.reciprocal[axis] = s.lattice.reciprocal[axis];
        }
        target.largestSeparation = s.lattice.largestSeparation;
        target.scratch = scratch;
        splat(target, s.kernel, s.particles.data() + from, to - from);
    }
}

/// Splats the particles of the groups, which follow each other, into the block, every worker into a slab of
/// its own; false when the callback stopped the work.
template <class Value>
bool splatIntoBlock(const Splatting& s, const std::vector<ParticleGroup>& groups, const Block<Value>& block)
{
    if (groups.empty()) return !isCancelled(s.callback);
    const uint32 first = groups.front().first, last = groups.back().last;
    const std::vector<uint32> slabs = cutSlabs(s, block.nodes.low[0], block.nodes.high[0], first, last);
    const auto workers = static_cast<uint32>(slabs.size() - 1);
    uint32 largestReach = 0;
    double visits = 0;
    for (uint32 n = first; n < last; ++n)
    {
        const uint32 reach = s.reachInPlanes(s.particles[n]);
        largestReach = std::max(largestReach, reach);
        visits += (2.0 * reach + 1) * std::min<double>(2.0 * reach + 1, s.lattice.size[1]) *
                  std::min<double>(2.0 * reach + 1, s.lattice.size[2]);
    }
    const auto rounds =
        static_cast<uint32>(std::clamp(visits / workers / visitsPerPoll, 0.0, double(last - first)) + 1);
    std::vector<std::unique_ptr<double[]>> scratch(workers);
    for (auto& room : scratch) room.reset(new double[std::size_t{block.extent(2)} + 16]);

    for (uint32 round = 0; round < rounds; ++round)
    {
        if (isCancelled(s.callback)) return false;
        parallelFor(
            workers, workers,
            [&](uint32, uint64 w, uint64)
            {
                const auto [from, to] = particlesNear(s, slabs[w], slabs[w + 1], first, last, largestReach);
                const uint64 count = to - from;
                splatIntoSlab(s, groups, block, slabs[w], slabs[w + 1],
                              static_cast<uint32>(from + count * round / rounds),
                              static_cast<uint32>(from + count * (round + 1) / rounds), scratch[w].get());
            });
    }
    return !isCancelled(s.callback);
}

/// All samples of a field as a block.
template <class Value, class Coord>
Block<Value> wholeField(ScalarField3<Value, Coord>& field)
{
    return {field.refArrScalars().data(), {{0, 0, 0}, {field.sizeX(), field.sizeY(), field.sizeZ()}}};
}

/// Replaces the field by the splatted particles.
template <class Value, class Coord>
bool build(ScalarField3<Value, Coord>& field, const Array<Vector3F>& positions, const Array<float>& radii,
           float margin, const SplatKernel& kernel, uint32 threadCount, CancelCallback callback)
{
    field.refFlags() |= ScalarField3<Value, Coord>::flagChanged;
    if (field.size() == 0) return true;
    const Lattice lattice(field.getGrid());
    const Block<Value> target = wholeField(field);
    fillZero(target, threadCount);
    const Array<Particle> particles =
        detail::sortParticles(lattice, positions, radii, kernel.reach, threadCount);
    const auto groups = detail::groupParticles(lattice, particles, margin, threadCount);
    if (splatIntoBlock({lattice, particles, kernel, threadCount, callback}, groups, target)) return true;
    fillZero(target, threadCount);
    return false;
}

/// Calls merge(target sample, block sample) for every node of the block, each worker on x planes of its own.
template <class Value, class Merge>
void mergeBlock(const Block<Value>& target, const Block<Value>& block, uint32 threadCount, Merge merge)
{
    parallelFor(block.extent(0), threadCount,
                [&](uint32, uint64 begin, uint64 end)
                {
                    for (uint64 i = begin; i < end; ++i)
                        for (uint32 j = 0; j < block.extent(1); ++j)
                        {
                            const Value* from = block.samples + i * block.strideX() + j * block.strideY();
                            Value* to = target.samples + (block.nodes.low[0] + i) * target.strideX() +
                                        (block.nodes.low[1] + j) * target.strideY() + block.nodes.low[2];
                            for (uint32 k = 0; k < block.extent(2); ++k) to[k] = merge(to[k], from[k]);
                        }
                });
}

/// Splats every group into a block of its own and merges the blocks into the field, in group order.
template <class Value, class Coord, class Merge>
bool carve(ScalarField3<Value, Coord>& field, const Array<Vector3F>& positions, const Array<float>& radii,
           float margin, const SplatKernel& kernel, uint32 threadCount, CancelCallback callback, Merge merge)
{
    if (field.size() == 0) return true;
    const Lattice lattice(field.getGrid());
    const Array<Particle> particles =
        detail::sortParticles(lattice, positions, radii, kernel.reach, threadCount);
    std::vector<Block<Value>> blocks;
    std::vector<Array<Value>> storage;
    for (const ParticleGroup& group : detail::groupParticles(lattice, particles, margin, threadCount))
    {
        Block<Value> block{nullptr, group.nodes};
        if (block.extent(0) == 0 || block.extent(1) == 0 || block.extent(2) == 0) continue;
        storage.emplace_back(static_cast<uint32>(block.strideX() * block.extent(0)));
        block.samples = storage.back().data();
        fillZero(block, threadCount);
        if (!splatIntoBlock({lattice, particles, kernel, threadCount, callback}, {group}, block))
            return false;
        blocks.push_back(block);
    }
    for (const Block<Value>& block : blocks) mergeBlock(wholeField(field), block, threadCount, merge);
    field.refFlags() |= ScalarField3<Value, Coord>::flagChanged;
    return true;
}

/// 1 at the particle, 0 at twice its radius.
constexpr SplatKernel distanceKernel{SplatKernel::Merge::Maximum, 2.0f, 1.0f};

/// 1 at the particle's radius, 0 at k times its radius.
SplatKernel metaballKernel(float influence)
{
    const float k = influence * 3.8f / 100.0f + 1.2f;
    const float t = 1.0f - (1.0f / k) * (1.0f / k);
    return {SplatKernel::Merge::Sum, k, 1.0f / (t * t * t)};
}

}  // namespace

template <class Value, class Coord>
bool ScalarField3<Value, Coord>::setDistanceField(const Array<Vector3F>& positions, const Array<float>& radii,
                                                  float margin, uint32 threadCount,
                                                  CancelCallback callback) requires std::floating_point<Value>
{
    return build(*this, positions, radii, margin, distanceKernel, threadCount, callback);
}

template <class Value, class Coord>
bool ScalarField3<Value, Coord>::setSubtractiveDistanceField(
    const Array<Vector3F>& positions, const Array<float>& radii, float margin, uint32 threadCount,
    CancelCallback callback) requires std::floating_point<Value>
{
    return carve(*this, positions, radii, margin, distanceKernel, threadCount, callback,
                 [](Value sample, Value v) { return v > 0 && sample > 0 ? sample - v : sample; });
}

template <class Value, class Coord>
bool ScalarField3<Value, Coord>::setMetaballField(const Array<Vector3F>& positions, const Array<float>& radii,
                                                  float margin, float influence, uint32 threadCount,
                                                  CancelCallback callback) requires std::floating_point<Value>
{
    return build(*this, positions, radii, margin, metaballKernel(influence), threadCount, callback);
}

template <class Value, class Coord>
bool ScalarField3<Value, Coord>::setSubtractiveMetaballField(
    const Array<Vector3F>& positions, const Array<float>& radii, float margin, float influence,
    uint32 threadCount, CancelCallback callback) requires std::floating_point<Value>
{
    return carve(*this, positions, radii, margin, metaballKernel(influence), threadCount, callback,
                 [](Value sample, Value v) { return v > 0 ? sample - v : sample; });
}

#define TX_INSTANTIATE(Value, Coord)                                                                        \
    template bool ScalarField3<Value, Coord>::setDistanceField(const Array<Vector3F>&, const Array<float>&, \
                                                               float, uint32, CancelCallback);              \
    template bool ScalarField3<Value, Coord>::setSubtractiveDistanceField(                                  \
        const Array<Vector3F>&, const Array<float>&, float, uint32, CancelCallback);                        \
    template bool ScalarField3<Value, Coord>::setMetaballField(const Array<Vector3F>&, const Array<float>&, \
                                                               float, float, uint32, CancelCallback);       \
    template bool ScalarField3<Value, Coord>::setSubtractiveMetaballField(                                  \
        const Array<Vector3F>&, const Array<float>&, float, float, uint32, CancelCallback);
TX_FOR_EACH_REAL_SCALAR_FIELD(TX_INSTANTIATE)
#undef TX_INSTANTIATE

}  // namespace tavrix
