#include <tavrix/reconstruction/detail/ValuesAtPlaces.h>

#include <algorithm>
#include <cmath>

#include <tavrix/particles/ParticleNeighbours.h>
#include <tavrix/reconstruction/detail/RanksAround.h>

namespace tavrix::detail
{

namespace
{

/// The block in which the middle of a place's cell lies. The places of a cell of that side are looked at
/// together, and in single precision: what is found at one depends on which others are in its cell.
BlockPlace homeOf(const BlockLattice& lattice, const Vector3D& place, double side)
{
    constexpr double farthest = 1e15;
    BlockPlace block;
    for (uint32 axis = 0; axis < 3; ++axis)
    {
        const double cell = std::floor(double{static_cast<float>(place[axis])} / side);
        const double middle = (cell + 0.5) * side, end = farthest / lattice.reciprocal[axis];
        const double within = middle > -end ? std::min(middle, end) : -end;
        block[axis] = BlockLattice::stepBefore(within, lattice.reciprocal[axis]) >> blockShift;
    }
    return block;
}

Array<uint32> homesOf(const ParticleDeal& deal, const Array<Vector3D>& places, double side)
{
    Array<uint32> homes(places.size());
    BlockPlace last{};
    for (uint32 n = 0; n < places.size(); ++n)
    {
        const BlockPlace block = homeOf(deal.lattice, places[n], side);
        homes[n] = n > 0 && block == last ? homes[n - 1] : deal.owners.ownerOf(block);
        last = block;
    }
    return homes;
}

/// The particles that matter to each rank: from a particle to a place, and on to the middle of its cell.
Routes routesOf(const RankGroup& ranks, const ParticleDeal& deal, const ParticleShare& share, double reach)
{
    const auto margin = static_cast<uint32>(1.501 * reach / deal.lattice.spacing + 2);
    RanksAround around(deal.lattice, deal.owners, {margin, margin, margin});
    return {ranks, [&](const auto& add)
            {
                forEachKept(share.positions.size(), share.leftOut,
                            [&](uint32 n)
                            {
                                const auto cell = cellAt(deal.lattice, share.positions[n]);
                                for (const uint32 rank : around.of(cell)) add(rank, n);
                            });
            }};
}

/// Brings what the particles have to the ranks to which they matter; in the order of the particles.
Array<Vector3F> dealOut(RankGroup& ranks, const Routes& routes, const Array<Vector3F>& values)
{
    return routes.send<Vector3F>(ranks, [&](uint32 n) { return values[n]; }).records;
}

}  // namespace

ValuesAtPlaces::ValuesAtPlaces(RankGroup& ranks, const ParticleDeal& deal, const ParticleShare& share,
                               const Array<Vector3D>& places, double reach, uint32 threadCount)
    : _ranks(ranks),
      _reach(reach),
      _threadCount(threadCount),
      _homes(homesOf(deal, places, reach)),
      _particles(routesOf(ranks, deal, share, reach)),
      _grid(dealOut(ranks, _particles, share.positions), reach / 2, threadCount)
{
    auto told = exchangeRecords<Vector3D>(ranks,
                                          [&](const auto& send)
                                          {
                                              for (uint32 n = 0; n < places.size(); ++n)
                                                  send(_homes[n], places[n]);
                                          });
    _places = std::move(told.records);
    _counts = std::move(told.counts);
}

Array<Vector3F> ValuesAtPlaces::interpolate(const Array<Vector3F>& values, CancelCallback callback) const
{
    const Array<Vector3F> found = interpolateAtPlaces(_grid, dealOut(_ranks, _particles, values), _places,
                                                      _reach, _threadCount, callback);
    const auto told = exchangeRuns(_ranks, found, _counts);
    FromEachRank answers(told);
    Array<Vector3F> own(_homes.size());
    for (uint32 n = 0; n < own.size(); ++n) own[n] = answers.next(_homes[n]);
    return own;
}

}  // namespace tavrix::detail
