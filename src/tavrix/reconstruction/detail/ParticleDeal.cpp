#include <tavrix/reconstruction/detail/ParticleDeal.h>

#include <cmath>
#include <limits>

#include <tavrix/foundation/detail/RankExchange.h>
#include <tavrix/particles/ParticleNeighbours.h>
#include <tavrix/reconstruction/detail/ParticleBlocks.h>
#include <tavrix/reconstruction/detail/RanksAround.h>

namespace tavrix::detail
{

namespace
{

/// What travels with an ellipsoid to tell its place in the order.
struct DealtEllipsoid
{
    DealtParticle of;
    Ellipsoid ellipsoid;
};

LatticeSteps stepsOf(double spacing) { return {{1 / spacing, 1 / spacing, 1 / spacing}, spacing}; }

BlockIndex lastBlockOf(const BlockLattice& lattice, const LatticeExtent& extent)
{
    BlockIndex last;
    for (uint32 axis = 0; axis < 3; ++axis)
    {
        const double steps =
            extent.high[axis] + extent.reach[axis] - static_cast<double>(lattice.firstNode[axis]);
        last[axis] = static_cast<uint32>(steps) >> blockShift;
    }
    return last;
}

LatticeExtent extentOf(const ParticleShare& share, double spacing, double margin)
{
    constexpr double infinity = std::numeric_limits<double>::infinity();
    const double reach = margin / spacing;
    LatticeExtent extent{
        {infinity, infinity, infinity}, {-infinity, -infinity, -infinity}, {reach, reach, reach}};
    const LatticeSteps steps = stepsOf(spacing);
    forEachKept(share.positions.size(), share.leftOut,
                [&](uint32 n)
                {
                    for (uint32 axis = 0; axis < 3; ++axis)
                    {
                        const double step = share.positions[n][axis] * steps.reciprocal[axis];
                        extent.low[axis] = std::min(extent.low[axis], step);
                        extent.high[axis] = std::max(extent.high[axis], step);
                    }
                });
    return extent;
}

std::vector<BlockFilling> fillingsOf(const ParticleShare& share, const BlockLattice& lattice)
{
    // put together whenever there are twice as many, for particles may come in any order
    std::vector<BlockFilling> fillings;
    std::size_t most = 1 << 12;
    forEachKept(
        share.positions.size(), share.leftOut,
        [&](uint32 n)
        {
            const auto [i, j, k] = cellAt(lattice, share.positions[n]);
            const BlockPlace block = placeOf(lattice, {i >> blockShift, j >> blockShift, k >> blockShift});
            if (fillings.empty() || fillings.back().block != block)
            {
                if (fillings.size() == most)
                {
                    fillings = putTogether(std::move(fillings));
                    most = std::max(most, 2 * fillings.size());
                }
                fillings.push_back({block, 0, 0});
            }
            ++fillings.back().particles;
            fillings.back().buckets |= bucketBit(i, j, k);
        });
    return putTogether(std::move(fillings));
}

/// The spacing, or a wider one whose lattice covers the extent.
double coveringSpacing(const LatticeExtent& extent, double spacing)
{
    constexpr double mostSteps = 1e9, farthest = 1e15;
    double widening = 1;
    for (uint32 axis = 0; axis < 3; ++axis)
        widening =
            std::max({widening, (extent.high[axis] - extent.low[axis]) / mostSteps,
                      std::fabs(extent.low[axis]) / farthest, std::fabs(extent.high[axis]) / farthest});
    return spacing * widening;
}

/// Tells of which dealt particles the blocks are this rank's own.
class Homes
{
public:
    Homes(RankGroup& ranks, const ParticleDeal& deal)
        : _rank(ranks.rank()), _lattice(deal.lattice), _around(deal.lattice, deal.owners, {0, 0, 0})
    {
    }

    bool have(const Vector3F& position) { return _around.homeOf(cellAt(_lattice, position)) == _rank; }

private:
    uint32 _rank;
    const BlockLattice& _lattice;
    RanksAround _around;
};

}  // namespace

Optional<ParticleDeal> dealOut(RankGroup& ranks, const ParticleShare& share, double spacing, double margin)
{
    LatticeExtent extent = extentOf(share, spacing, margin);
    extendOver(ranks, extent);
    if (!isCoverable(extent)) return std::nullopt;
    const BlockLattice lattice = latticeOver(stepsOf(spacing), extent);
    const auto cells = static_cast<uint32>(margin / spacing + 1);
    const CurveOwners owners =
        shareOut(ranks, lattice, lastBlockOf(lattice, extent), fillingsOf(share, lattice), margin / spacing);
    RanksAround around(lattice, owners, {cells, cells, cells});
    const Routes routes(ranks,
                        [&](const auto& add)
                        {
                            forEachKept(
                                share.positions.size(), share.leftOut,
                                [&](uint32 n)
                                {
                                    for (const uint32 rank : around.of(cellAt(lattice, share.positions[n])))
                                        add(rank, n);
                                });
                        });
    auto dealt =
        routes.send<DealtParticle>(ranks,
                                   [&](uint32 n) {
                                       return DealtParticle{share.positions[n], share.firstNumber + n};
                                   });
    return ParticleDeal{lattice, owners, std::move(dealt.records)};
}

Array<uint32> findStrays(RankGroup& ranks, const ParticleShare& share, double spacing, double radius,
                         uint32 least, uint32 threadCount)
{
    // strays may lie anywhere, so that only a wider lattice covers them
    LatticeExtent extent = extentOf(share, spacing, radius);
    extendOver(ranks, extent);
    const Optional<ParticleDeal> deal = dealOut(ranks, share, coveringSpacing(extent, spacing), radius);
    Array<Vector3F> positions;
    if (deal)
        for (const DealtParticle& p : deal->particles) positions.push_back(p.position);
    const Array<uint32> found = tavrix::findStrays(positions, radius, least, threadCount);
    const std::vector<int64> starts = startsOver(ranks, share.positions.size());
    Optional<Homes> homes;
    if (deal) homes.emplace(ranks, *deal);
    const auto told = exchangeRecords<uint32>(
        ranks,
        [&](const auto& send)
        {
            for (const uint32 n : found)
            {
                if (!homes->have(positions[n])) continue;
                const uint32 number = deal->particles[n].number;
                const auto behind = std::upper_bound(starts.begin(), starts.end(), int64{number});
                send(static_cast<uint32>(behind - starts.begin()) - 1, number);
            }
        });
    std::vector<uint32> strays(share.leftOut.begin(), share.leftOut.end());
    for (const uint32 number : told.records) strays.push_back(number - share.firstNumber);
    std::sort(strays.begin(), strays.end());
    return Array<uint32>(std::span<const uint32>(strays));
}

Optional<Array<Ellipsoid>> dealEllipsoids(RankGroup& ranks, const ParticleDeal& deal,
                                          const Array<Ellipsoid>& fitted, const Array<uint32>& fittedFor,
                                          double cellSize, uint32 threadCount)
{
    constexpr EllipsoidKernel kernel{SplatMerge::Sum};
    Array<DealtEllipsoid> own;
    Homes homes(ranks, deal);
    for (uint32 n = 0; n < fitted.size(); ++n)
    {
        const DealtParticle& of = deal.particles[fittedFor[n]];
        if (isPlaced(kernel, fitted[n]) && homes.have(of.position)) own.push_back({of, fitted[n]});
    }
    const LatticeSteps steps = stepsOf(deal.lattice.spacing);
    Polling none(nullptr);
    LatticeExtent extent = measureExtent(steps, kernel, own.size(), threadCount, none,
                                         [&](uint32 n) { return own[n].ellipsoid; });
    extendOver(ranks, extent);
    if (extent.isEmpty()) return Array<Ellipsoid>();
    if (!isCoverable(extent)) return std::nullopt;
    const BlockLattice lattice = latticeOver(steps, extent);
    uint32 reach[3];
    for (uint32 axis = 0; axis < 3; ++axis) reach[axis] = static_cast<uint32>(extent.reach[axis] + 1);
    RanksAround around(lattice, deal.owners, reach);
    Array<DealtEllipsoid> dealt =
        exchangeRecords<DealtEllipsoid>(
            ranks,
            [&](const auto& send)
            {
                for (const DealtEllipsoid& e : own)
                    for (const uint32 rank : around.of(cellOf(lattice, e.ellipsoid))) send(rank, e);
            })
            .records;
    std::sort(dealt.begin(), dealt.end(),
              [](const DealtEllipsoid& a, const DealtEllipsoid& b) { return a.of.number < b.of.number; });
    Array<Vector3F> positions(dealt.size());
    for (uint32 n = 0; n < dealt.size(); ++n) positions[n] = dealt[n].of.position;
    const NeighbourGrid grid(positions, cellSize, threadCount);
    Array<Ellipsoid> ellipsoids(dealt.size());
    for (uint32 n = 0; n < dealt.size(); ++n) ellipsoids[n] = dealt[grid.order()[n]].ellipsoid;
    return ellipsoids;
}

}  // namespace tavrix::detail
