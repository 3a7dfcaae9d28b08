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

/// Buckets along an axis, and one below another: along x, y and z.
constexpr uint32 bucketsAlong = 4, bucketSteps[] = {16, 4, 1};

/// The buckets of a coarser size that hold one of these: two, or four, of these along each axis.
uint64 coarsened(uint64 buckets, uint32 size)
{
    uint64 coarse = 0;
    for (uint32 b = 0; b < 64; ++b)
        if (buckets >> b & 1)
            for (uint32 c = 0; c < 64; ++c)
            {
                const auto isSame = [&](uint32 shift)
                { return (b >> shift & 3) / size == (c >> shift & 3) / size; };
                if (isSame(4) && isSame(2) && isSame(0)) coarse |= uint64{1} << c;
            }
    return coarse;
}

/// The full buckets of the blocks below and above a block, along each axis.
using BucketsAround = uint64[3][2];

/// The sides at which full buckets lie beside empty ones; those between two blocks are the full one's.
uint32 countSides(uint64 buckets, const BucketsAround& around)
{
    const auto isFull = [](uint64 of, uint32 b) { return (of >> b & 1) != 0; };
    uint32 sides = 0;
    for (uint32 b = 0; b < 64; ++b)
        for (uint32 axis = 0; axis < 3; ++axis)
        {
            const uint32 step = bucketSteps[axis], at = b / step % bucketsAlong, across = 3 * step;
            if (at < 3) sides += isFull(buckets, b) != isFull(buckets, b + step) ? 1 : 0;
            if (at == 0) sides += isFull(buckets, b) && !isFull(around[axis][0], b + across) ? 1 : 0;
            if (at == 3) sides += isFull(buckets, b) && !isFull(around[axis][1], b - across) ? 1 : 0;
        }
    return sides;
}

/// The full buckets of a block; none of one that is not among the fillings.
uint64 bucketsOf(const BlockPlace& block, const std::vector<BlockFilling>& fillings)
{
    const auto found =
        std::lower_bound(fillings.begin(), fillings.end(), block,
                         [](const BlockFilling& filling, const BlockPlace& b) { return filling.block < b; });
    return found != fillings.end() && found->block == block ? found->buckets : 0;
}

/// Calls visit(block, axis, which) for the blocks below and above a block along each axis.
template <class Visit>
void forEachBeside(const BlockPlace& block, Visit visit)
{
    for (uint32 axis = 0; axis < 3; ++axis)
        for (const uint32 which : {0u, 1u})
        {
            BlockPlace beside = block;
            beside[axis] += which == 0 ? -1 : 1;
            visit(beside, axis, which);
        }
}

/// The work that a block makes: that of its particles, and of the surface that is likely where buckets are
/// full beside empty ones, both of so many buckets a side.
BlockLoad loadOf(const BlockFilling& filling, const std::vector<BlockFilling>& known, uint32 size)
{
    // in particles' work: what a block costs besides, for its samples are there for one particle, too; and
    // the surface at the side of a bucket, of which single drops have fewer than sides
    constexpr int64 blockLoad = 100, sideLoad = 100;
    const auto asCoarse = [size](uint64 buckets) { return size == 1 ? buckets : coarsened(buckets, size); };
    BucketsAround around;
    forEachBeside(filling.block, [&](const BlockPlace& block, uint32 axis, uint32 which)
                  { around[axis][which] = asCoarse(bucketsOf(block, known)); });
    const auto full = static_cast<uint32>(std::popcount(filling.buckets));
    const uint32 sides = std::min(countSides(asCoarse(filling.buckets), around), 2 * full);
    return {filling.block, filling.particles + blockLoad + sideLoad * sides, sides};
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

std::vector<BlockFilling> putTogether(std::vector<BlockFilling> fillings)
{
    std::sort(fillings.begin(), fillings.end(),
              [](const BlockFilling& a, const BlockFilling& b) { return a.block < b.block; });
    std::size_t count = 0;
    for (const BlockFilling& filling : fillings)
        if (count > 0 && fillings[count - 1].block == filling.block)
        {
            fillings[count - 1].particles += filling.particles;
            fillings[count - 1].buckets |= filling.buckets;
        }
        else
            fillings[count++] = filling;
    fillings.resize(count);
    return fillings;
}

std::vector<BlockLoad> loadsOf(const std::vector<BlockFilling>& own, const std::vector<BlockFilling>& known,
                               double reach)
{
    constexpr double bucketCells = 8;
    const uint32 size = reach <= 2 * bucketCells ? 1 : reach <= 4 * bucketCells ? 2 : 4;
    std::vector<BlockLoad> loads;
    loads.reserve(own.size());
    for (const BlockFilling& filling : own) loads.push_back(loadOf(filling, known, size));
    return loads;
}

CurveOwners::CurveOwners(RankGroup& ranks, const BlockLattice& lattice, const BlockIndex& last,
                         const std::vector<BlockLoad>& loads)
    : _first(placeOf(lattice, {0, 0, 0})),
      _bits(static_cast<uint32>(std::bit_width(std::max({last[0], last[1], last[2], 1u}))))
{
    // in the middle of the curve's cube, so that its halves are those of the scene
    for (uint32 axis = 0; axis < 3; ++axis) _first[axis] -= ((uint64{1} << _bits) - 1 - last[axis]) / 2;
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
