#include <tavrix/reconstruction/detail/BlockOwners.h>

#include <algorithm>
#include <bit>
#include <utility>

#include <tavrix/foundation/detail/RankExchange.h>
#include <tavrix/foundation/detail/SortOnce.h>

namespace tavrix::detail
{

namespace
{

/// Turns the three indices of a cell into its index on the curve, whose bits then lie across them, the
/// highest of x first.
void toCurve(uint32 (&index)[3], uint32 bits)
{
    const uint32 top = 1u << (bits - 1);
    for (uint32 bit = top; bit > 1; bit >>= 1)
        for (uint32& i : index)
        {
            const uint32 below = bit - 1;
            const uint32 swapped = i & bit ? 0 : (index[0] ^ i) & below;
            if (i & bit) index[0] ^= below;
            index[0] ^= swapped;
            i ^= swapped;
        }
    index[1] ^= index[0];
    index[2] ^= index[1];
    uint32 flips = 0;
    for (uint32 bit = top; bit > 1; bit >>= 1)
        if (index[2] & bit) flips ^= bit - 1;
    for (uint32& i : index) i ^= flips;
}

/// Sends what is known of blocks to the ranks to which each is told by `to(filling, send)`.
template <class To>
std::vector<BlockFilling> tell(RankGroup& ranks, const std::vector<BlockFilling>& fillings, To to)
{
    const auto told =
        exchangeRecords<BlockFilling>(ranks,
                                      [&](const auto& send)
                                      {
                                          for (const BlockFilling& filling : fillings)
                                              to(filling, [&](uint32 rank) { send(rank, filling); });
                                      });
    return putTogether({told.records.begin(), told.records.end()});
}

}  // namespace

void extendOver(RankGroup& ranks, LatticeExtent& extent)
{
    double ends[9];
    for (uint32 axis = 0; axis < 3; ++axis)
    {
        ends[axis] = -extent.low[axis];
        ends[3 + axis] = extent.high[axis];
        ends[6 + axis] = extent.reach[axis];
    }
    ranks.largest(ends);
    for (uint32 axis = 0; axis < 3; ++axis)
    {
        extent.low[axis] = -ends[axis];
        extent.high[axis] = ends[3 + axis];
        extent.reach[axis] = ends[6 + axis];
    }
}

CurveOwners::CurveOwners(RankGroup& ranks, const BlockLattice& lattice, const BlockIndex& last,
                         const std::vector<BlockLoad>& loads)
    : _first(placeOf(lattice, {0, 0, 0})),
      _bits(static_cast<uint32>(std::bit_width(std::max({last[0], last[1], last[2], 1u}))))
{
    // in the middle of the curve's cube, so that its halves are those of the scene
    for (uint32 axis = 0; axis < 3; ++axis) _first[axis] -= ((int64{1} << _bits) - 1 - last[axis]) / 2;
    std::vector<KeyPlace> items;
    items.reserve(loads.size() + 1);
    for (const BlockLoad& load : loads) items.push_back({keyOf(load.block), load.load});
    std::sort(items.begin(), items.end(), [](const KeyPlace& a, const KeyPlace& b) { return a.key < b.key; });
    int64 total = 0;
    for (KeyPlace& item : items) total += std::exchange(item.before, total);
    items.push_back({{}, total});
    ranks.sum({&total, 1});
    std::vector<int64> targets;
    for (uint32 r = 1; r < ranks.size(); ++r)
        targets.push_back(static_cast<int64>(static_cast<double>(total) * r / ranks.size()));
    _cuts = selectKeys(ranks, items, targets, 3 * _bits);
}

WideKey CurveOwners::keyOf(const BlockPlace& block) const
{
    uint32 index[3];
    for (uint32 axis = 0; axis < 3; ++axis)
        index[axis] =
            static_cast<uint32>(std::clamp<int64>(block[axis] - _first[axis], 0, (int64{1} << _bits) - 1));
    toCurve(index, _bits);
    WideKey key{0, 0};
    for (uint32 bit = _bits; bit-- > 0;)
        for (const uint32 i : index)
        {
            key.upper = key.upper << 1 | key.lower >> 63;
            key.lower = key.lower << 1 | (i >> bit & 1);
        }
    return key;
}

uint32 CurveOwners::ownerOf(const BlockPlace& block) const
{
    const auto behind = std::upper_bound(_cuts.begin(), _cuts.end(), keyOf(block));
    return static_cast<uint32>(behind - _cuts.begin());
}

CurveOwners shareOut(RankGroup& ranks, const BlockLattice& lattice, const BlockIndex& last,
                     const std::vector<BlockFilling>& fillings, double reach)
{
    // several shares may hold particles of a block: what it costs is known where they are put together, with
    // the blocks beside it
    std::vector<BlockLoad> loads;
    loads.reserve(fillings.size());
    for (const BlockFilling& filling : fillings) loads.push_back({filling.block, filling.particles, 0});
    const CurveOwners byParticles(ranks, lattice, last, loads);
    const std::vector<BlockFilling> own = tell(ranks, fillings,
                                               [&](const BlockFilling& filling, const auto& send)
                                               { send(byParticles.ownerOf(filling.block)); });
    const std::vector<BlockFilling> known =
        tell(ranks, own,
             [&](const BlockFilling& filling, const auto& send)
             {
                 std::vector<uint32> around{ranks.rank()};
                 forEachBeside(filling.block, [&](const BlockPlace& block, uint32, uint32)
                               { around.push_back(byParticles.ownerOf(block)); });
                 sortOnce(around);
                 for (const uint32 rank : around) send(rank);
             });
    return {ranks, lattice, last, loadsOf(own, known, reach)};
}

}  // namespace tavrix::detail
