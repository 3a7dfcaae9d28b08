#include <tavrix/reconstruction/RankForecast.h>

#include <algorithm>
#include <numeric>

#include <tavrix/reconstruction/detail/EvenFilling.h>
#include <tavrix/reconstruction/detail/ParticleFinder.h>
#include <tavrix/reconstruction/detail/ParticleWeights.h>
#include <tavrix/reconstruction/detail/RanksAround.h>

namespace tavrix
{

namespace
{

using detail::BlockIndex;
template <class Kernel>
using Blocks = detail::ParticleBlocks<Kernel>;

/// As many ranks as may be, of which this process knows all.
class SupposedRanks : public RankGroup
{
public:
    explicit SupposedRanks(uint32 size) : _size(size) {}

    uint32 rank() const override { return 0; }
    uint32 size() const override { return _size; }
    void sum(std::span<int64>) override {}
    void largest(std::span<double>) override {}
    void exchange(const void*, const uint32*, void*, const uint32*, std::size_t) override {}

private:
    uint32 _size;
};

/// The particles make(0), … sorted by blocks; nothing where no lattice covers them.
template <class Kernel, class Make>
Optional<Blocks<Kernel>> sorted(const Kernel& kernel, uint32 count, const ReconstructionSettings& s,
                                Make make)
{
    const detail::LatticeSteps steps{{1 / *s.spacing, 1 / *s.spacing, 1 / *s.spacing}, *s.spacing};
    detail::Polling none(nullptr);
    const auto extent = detail::measureExtent(steps, kernel, count, s.threadCount, none, make);
    if (extent.isEmpty() || !isCoverable(extent)) return std::nullopt;
    return sortIntoBlocks(steps, extent, kernel, count, s.threadCount, none, make);
}

/// The vertices in all blocks, by those in some.
template <class Kernel>
double countVertices(const Blocks<Kernel>& particles, const std::vector<BlockIndex>& blocks,
                     const Kernel& kernel, float level, uint32 threadCount)
{
    const uint64 count = std::min<uint64>(blocks.size(), 400);
    detail::Polling none(nullptr);
    std::vector<detail::ParticleFinder<Kernel>> finders;
    for (uint32 w = 0; w < threadCount; ++w) finders.emplace_back(particles, kernel, level, none);
    std::vector<std::unique_ptr<detail::BlockMarching>> marchings(threadCount);
    std::vector<uint64> vertices(threadCount, 0);
    inTurns(none, count, threadCount,
            [&](uint32 w, uint64 n)
            {
                if (!marchings[w]) marchings[w] = std::make_unique<detail::BlockMarching>();
                if (finders[w](blocks[n * blocks.size() / count], *marchings[w]))
                    vertices[w] += marchings[w]->vertexCount();
            });
    const uint64 found = std::accumulate(vertices.begin(), vertices.end(), uint64{0});
    return static_cast<double>(found) * static_cast<double>(blocks.size()) / static_cast<double>(count);
}

template <class Kernel>
detail::BlockFilling fillingOf(const Blocks<Kernel>& particles, std::size_t home)
{
    detail::BlockFilling filling{placeOf(particles.lattice, particles.homes[home].block),
                                 particles.firstOf(home + 1) - particles.firstOf(home), 0};
    for (uint32 b = particles.homes[home].firstBucket; b < particles.homes[home + 1].firstBucket; ++b)
    {
        const uint8(&low)[3] = particles.buckets[b].low;
        filling.buckets |= detail::bucketBit(low[0], low[1], low[2]);
    }
    return filling;
}

/// How far particles are dealt beyond the blocks in which they lie, in cells.
uint32 marginOf(const ReconstructionSettings& s)
{
    const double reach = s.kernel == SurfaceKernel::Anisotropic ? s.anisotropy().neighbourReach * s.reach()
                                                                : double{s.reach()};
    return static_cast<uint32>(reach / *s.spacing + 1);
}

template <class Number>
Number most(const std::vector<Number>& numbers)
{
    return *std::max_element(numbers.begin(), numbers.end());
}

/// The largest part of their sum.
double mostOfAll(const std::vector<int64>& numbers)
{
    return static_cast<double>(most(numbers)) /
           static_cast<double>(std::accumulate(numbers.begin(), numbers.end(), int64{0}));
}

template <class Kernel>
RankLoads loadsOf(uint32 rankCount, const Blocks<Kernel>& particles, const std::vector<BlockIndex>& blocks,
                  uint32 margin)
{
    SupposedRanks ranks(rankCount);
    std::vector<detail::BlockFilling> fillings;
    fillings.reserve(particles.homeCount());
    for (std::size_t h = 0; h < particles.homeCount(); ++h) fillings.push_back(fillingOf(particles, h));
    const std::vector<detail::BlockLoad> loads = detail::loadsOf(fillings, fillings, margin);
    BlockIndex last{0, 0, 0};
    for (const BlockIndex& block : blocks)
        for (uint32 axis = 0; axis < 3; ++axis) last[axis] = std::max(last[axis], block[axis]);
    const detail::CurveOwners owners(ranks, particles.lattice, last, loads);

    std::vector<int64> work(rankCount, 0), sides(rankCount, 0);
    for (const detail::BlockLoad& load : loads)
    {
        const uint32 owner = owners.ownerOf(load.block);
        work[owner] += load.load;
        sides[owner] += load.sides;
    }
    std::vector<uint64> looked(rankCount, 0), dealt(rankCount, 0);
    for (const BlockIndex& block : blocks) ++looked[owners.ownerOf(placeOf(particles.lattice, block))];
    detail::RanksAround around(particles.lattice, owners, {margin, margin, margin});
    for (std::size_t b = 0; b + 1 < particles.buckets.size(); ++b)
    {
        // one stands for those of its bucket
        const uint32 first = particles.buckets[b].begin;
        for (const uint32 rank : around.of(cellOf(particles.lattice, particles.particles[first])))
            dealt[rank] += particles.buckets[b + 1].begin - first;
    }
    return {rankCount,        std::accumulate(dealt.begin(), dealt.end(), uint64{0}),
            most(dealt),      most(looked),
            mostOfAll(sides), mostOfAll(work) * rankCount};
}

template <class Kernel>
RankForecast forecastOf(const Blocks<Kernel>& particles, const Kernel& kernel, float level,
                        const ReconstructionSettings& s, const std::vector<uint32>& rankCounts)
{
    const std::vector<BlockIndex> blocks = blocksReached(particles);
    RankForecast forecast{s, particles.particles.size(), blocks.size(), 0, {}};
    if (level > 0) forecast.vertices = countVertices(particles, blocks, kernel, level, s.threadCount);
    for (const uint32 ranks : rankCounts)
        forecast.loads.push_back(loadsOf(ranks, particles, blocks, marginOf(s)));
    return forecast;
}

Optional<RankForecast> forecastBalls(const Array<Vector3F>& positions, const ReconstructionSettings& s,
                                     const std::vector<uint32>& rankCounts)
{
    const auto radius = static_cast<float>(*s.radius);
    const auto ball = [&](uint32 n) {
        return detail::Particle{positions[n].x, positions[n].y, positions[n].z, radius};
    };
    const auto particles = sorted(detail::distanceKernel, positions.size(), s, ball);
    if (!particles) return std::nullopt;
    const float level = static_cast<float>(s.level) * s.valueAtLevelOne();
    return forecastOf(*particles, detail::distanceKernel, level, s, rankCounts);
}

/// Metaballs, which stand for ellipsoids of their reach as well.
Optional<RankForecast> forecastMetaballs(const Array<Vector3F>& positions, const ReconstructionSettings& s,
                                         const std::vector<uint32>& rankCounts)
{
    const detail::EvenFilling filling(s.reach() / *s.particleSpacing);
    const detail::WeightedBallKernel kernel{s.reach(), static_cast<float>(1 / filling.value())};
    const auto ball = [&](uint32 n) {
        return detail::WeightedBall{positions[n].x, positions[n].y, positions[n].z, 1};
    };
    auto particles = sorted(kernel, positions.size(), s, ball);
    if (!particles) return std::nullopt;
    detail::Polling none(nullptr);
    weighParticles(*particles, kernel, filling, {}, s.threadCount, none);
    return forecastOf(*particles, kernel, static_cast<float>(s.level * filling.level()), s, rankCounts);
}

}  // namespace

Optional<RankForecast> forecastRanks(const Array<Vector3F>& positions, const ReconstructionSettings& settings,
                                     const std::vector<uint32>& rankCounts)
{
    const ReconstructionSettings s = settledFor(settings, positions);
    if (!s.radius) return std::nullopt;
    return s.kernel == SurfaceKernel::Distance ? forecastBalls(positions, s, rankCounts)
                                               : forecastMetaballs(positions, s, rankCounts);
}

}  // namespace tavrix
