#include <tavrix/mesh/detail/EqualPoints.h>

#include <algorithm>
#include <bit>
#include <span>
#include <tuple>

#include <tavrix/foundation/detail/PointHash.h>
#include <tavrix/foundation/detail/RadixSort.h>

namespace tavrix::detail
{

namespace
{

/// The coordinates, with 0 for -0.
Vector3D unsignedZeros(const Vector3D& p) { return {p.x + 0.0, p.y + 0.0, p.z + 0.0}; }

/// Coordinates as a key that orders any values, NaN as well.
std::tuple<uint64, uint64, uint64> keyOf(const Vector3D& point)
{
    const Vector3D p = unsignedZeros(point);
    return {std::bit_cast<uint64>(p.x), std::bit_cast<uint64>(p.y), std::bit_cast<uint64>(p.z)};
}

uint32 hashOfItem(uint64 item) { return static_cast<uint32>(item >> 32); }
uint32 numberOfItem(uint64 item) { return static_cast<uint32>(item); }

/// Hashes above the points' numbers, sorted.
Array<uint64> sortedByHash(const Array<Vector3D>& points, Polling& polling)
{
    Array<uint64> items(points.size());
    for (const uint32 n : PolledNumbers(points.size(), scatteredItems, polling))
        items[n] = (hashOf(unsignedZeros(points[n])) >> 32 << 32) | n;
    radixSortByUpperHalf(items, 1, polling);
    return items;
}

/// Of the points of one hash, with ascending numbers.
void findFirsts(const Array<Vector3D>& points, std::span<uint64> items, Array<uint32>& firsts)
{
    const auto key = [&](uint64 item) { return keyOf(points[numberOfItem(item)]); };
    const bool allEqual = std::all_of(items.begin() + 1, items.end(),
                                      [&, first = key(items[0])](uint64 item) { return key(item) == first; });
    if (!allEqual)
        std::sort(items.begin(), items.end(),
                  [&](uint64 a, uint64 b) { return std::tuple(key(a), a) < std::tuple(key(b), b); });
    std::size_t first = 0;
    for (std::size_t n = 0; n < items.size(); ++n)
    {
        if (!allEqual && key(items[n]) != key(items[first])) first = n;
        firsts[numberOfItem(items[n])] = numberOfItem(items[first]);
    }
}

}  // namespace

Array<uint32> firstEqualPoints(const Array<Vector3D>& points, Polling& polling)
{
    Array<uint64> items = sortedByHash(points, polling);
    Array<uint32> firsts(points.size());
    uint32 begin = 0;  // of the run of one hash
    for (const uint32 n : PolledNumbers(points.size(), scatteredItems, polling))
    {
        if (n + 1 < items.size() && hashOfItem(items[n + 1]) == hashOfItem(items[n])) continue;
        if (n == begin)
            firsts[numberOfItem(items[n])] = numberOfItem(items[n]);
        else
            findFirsts(points, {items.data() + begin, n + 1 - begin}, firsts);
        begin = n + 1;
    }
    return firsts;
}

}  // namespace tavrix::detail
