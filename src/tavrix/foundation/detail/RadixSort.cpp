#include <tavrix/foundation/detail/RadixSort.h>

#include <algorithm>
#include <array>
#include <vector>

#include <tavrix/foundation/ParallelFor.h>

namespace tavrix::detail
{

namespace
{

constexpr uint32 digitBits = 11;
constexpr uint32 digitCount = 1u << digitBits;
using Histogram = std::array<uint32, digitCount>;

/// One stable pass over the digit that starts at the given bit; false when all items share it and nothing
/// moved. Every worker counts and moves a run of its own.
bool sortByDigit(const Array<uint64>& from, Array<uint64>& to, uint32 shift, std::vector<Histogram>& counts)
{
    const auto workers = static_cast<uint32>(counts.size());
    const auto digit = [shift](uint64 item) { return static_cast<uint32>(item >> shift) & (digitCount - 1); };
    const auto run = [&](uint64 w) { return static_cast<uint32>(uint64{from.size()} * w / workers); };
    parallelFor(workers, workers,
                [&](uint32, uint64 w, uint64)
                {
                    counts[w].fill(0);
                    for (uint32 n = run(w); n < run(w + 1); ++n) ++counts[w][digit(from[n])];
                });
    uint32 place = 0;
    for (uint32 d = 0; d < digitCount; ++d)
    {
        const uint32 before = place;
        for (Histogram& count : counts) place += std::exchange(count[d], place);
        if (place - before == from.size()) return false;
    }
    parallelFor(workers, workers,
                [&](uint32, uint64 w, uint64)
                {
                    for (uint32 n = run(w); n < run(w + 1); ++n) to[counts[w][digit(from[n])]++] = from[n];
                });
    return true;
}

}  // namespace

void radixSortByUpperHalf(Array<uint64>& items, uint32 threadCount)
{
    if (items.size() < 2) return;
    std::vector<Histogram> counts(std::clamp(threadCount, 1u, items.size() / digitCount + 1));
    Array<uint64> other(items.size());
    for (uint32 shift = 32; shift < 64; shift += digitBits)
        if (sortByDigit(items, other, shift, counts)) items.swap(other);
}

}  // namespace tavrix::detail
