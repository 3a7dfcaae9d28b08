#pragma once

#include <algorithm>
#include <utility>
#include <vector>

#include <tavrix/foundation/Array.h>
#include <tavrix/foundation/ParallelFor.h>

namespace tavrix::detail
{

/// Stable counting sort of the items 0, 1, … by bucketOf(item), which is below bucketCount: calls place(item,
/// position) once for every item. Each worker looks at all items and handles those of a range of buckets of
/// its own, so the calls for different buckets may run at once. Returns where each bucket ends; it begins
/// where the one before ends.
template <class BucketOf, class Place>
Array<uint32> placeByBucket(uint32 itemCount, uint32 bucketCount, uint32 threadCount, BucketOf bucketOf,
                            Place place)
{
    const uint32 workers = std::clamp(threadCount, 1u, std::max(bucketCount, 1u));
    const auto firstBucket = [&](uint64 w) { return static_cast<uint32>(uint64{bucketCount} * w / workers); };
    Array<uint32> next(bucketCount);
    std::vector<uint32> before(std::size_t{workers} + 1, 0);
    parallelFor(workers, workers,
                [&](uint32, uint64 w, uint64)
                {
                    const uint32 low = firstBucket(w), size = firstBucket(w + 1) - low;
                    std::fill_n(next.data() + low, size, 0u);
                    uint32 count = 0;
                    for (uint32 item = 0; item < itemCount; ++item)
                    {
                        const uint32 bucket = bucketOf(item);
                        if (bucket - low >= size) continue;
                        ++next[bucket];
                        ++count;
                    }
                    before[w + 1] = count;
                });
    for (uint32 w = 0; w < workers; ++w) before[w + 1] += before[w];
    parallelFor(workers, workers,
                [&](uint32, uint64 w, uint64)
                {
                    const uint32 low = firstBucket(w), size = firstBucket(w + 1) - low;
                    uint32 position = before[w];
                    for (uint32 bucket = low; bucket < low + size; ++bucket)
                        position += std::exchange(next[bucket], position);
                    for (uint32 item = 0; item < itemCount; ++item)
                    {
                        const uint32 bucket = bucketOf(item);
                        if (bucket - low < size) place(item, next[bucket]++);
                    }
                });
    return next;
}

}  // namespace tavrix::detail
