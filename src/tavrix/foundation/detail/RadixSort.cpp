#include <tavrix/foundation/detail/RadixSort.h>

#include <algorithm>
#include <array>
#include <vector>

namespace tavrix::detail
{

namespace
{

constexpr uint32 digitBits = 11;
constexpr uint32 digitCount = 1u << digitBits;
using Histogram = std::array<uint32, digitCount>;

/// One stable pass over the digit that starts at the given bit; false when all items share it and nothing
/// moved, or when the polling stopped it. Every worker counts and moves a run of its own.
bool sortByDigit(const Array<uint64>& from, Array<uint64>& to, uint32 shift, std::vector<Histogram>& counts,
                 Polling& polling)
{
    const auto workers = static_cast<uint32>(counts.size());
    const auto digit = [shift](uint64 item) { return static_cast<uint32>(item >> shift) & (digitCount - 1); };
    // step(worker's counts, begin, end) for pieces of every worker's run
    const auto forEachRun = [&](auto step)
    {
        return polledFor(polling, workers, workers,
                         [&](uint32, uint64 w, uint64)
                         {
                             const auto last = static_cast<uint32>(uint64{from.size()} * (w + 1) / workers);
                             auto begin = static_cast<uint32>(uint64{from.size()} * w / workers);
                             while (begin < last)
                             {
                                 const uint32 end = begin + std::min<uint32>(lightItems, last - begin);
                                 step(counts[w], begin, end);
                                 begin = end;
                                 if (!polling.goOn()) return;
                             }
                         });
    };
    for (Histogram& count : counts) count.fill(0);
    if (!forEachRun(
            [&](Histogram& count, uint32 begin, uint32 end)
            {
                for (uint32 n = begin; n < end; ++n) ++count[digit(from[n])];
            }))
        return false;
    uint32 place = 0;
    for (uint32 d = 0; d < digitCount; ++d)
    {
        const uint32 before = place;
        for (Histogram& count : counts) place += std::exchange(count[d], place);
        if (place - before == from.size()) return false;
    }
    return forEachRun(
        [&](Histogram& count, uint32 begin, uint32 end)
        {
            for (uint32 n = begin; n < end; ++n) to[count[digit(from[n])]++] = from[n];
        });
}

}  // namespace

void radixSortByUpperHalf(Array<uint64>& items, uint32 threadCount, Polling& polling)
{
    if (items.size() < 2) return;
    std::vector<Histogram> counts(threadsWorth(items.size(), scatteredItems, threadCount));
    Array<uint64> other(items.size());
    for (uint32 shift = 32; shift < 64 && !polling.isStopped(); shift += digitBits)
        if (sortByDigit(items, other, shift, counts, polling)) items.swap(other);
}

}  // namespace tavrix::detail
