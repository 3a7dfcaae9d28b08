#include <tavrix/reconstruction/detail/BlockLoads.h>

#include <algorithm>
#include <bit>

namespace tavrix::detail
{

namespace
{

/// Buckets along an axis, and one below another: along x, y and z.
constexpr uint32 bucketsAlong = 4, lastBucket = bucketsAlong - 1, bucketSteps[] = {16, 4, 1};

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
            const uint32 step = bucketSteps[axis], at = b / step % bucketsAlong, across = lastBucket * step;
            if (at < lastBucket) sides += isFull(buckets, b) != isFull(buckets, b + step) ? 1 : 0;
            if (at == 0) sides += isFull(buckets, b) && !isFull(around[axis][0], b + across) ? 1 : 0;
            if (at == lastBucket) sides += isFull(buckets, b) && !isFull(around[axis][1], b - across) ? 1 : 0;
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

}  // namespace

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

}  // namespace tavrix::detail
