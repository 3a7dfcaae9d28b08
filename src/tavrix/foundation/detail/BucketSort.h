#pragma once

#include <algorithm>
#include <utility>
#include <vector>

#include <tavrix/foundation/Array.h>
#include <tavrix/foundation/detail/Polling.h>

namespace tavrix::detail
{

/// Stable counting sort of the items 0, 1, … by bucketOf(item), which is below bucketCount: calls place(item,
/// position) once for every item. Each worker looks at all items and handles those of a range of buckets of
/// its own, so the calls for different buckets may run at once. Returns where each bucket ends; it begins
/// where the one before ends. What it returns means nothing once the polling has stopped.
template <class BucketOf, class Place>
Array<uint32> placeByBucket(uint32 itemCount, uint32 bucketCount, uint32 threadCount, Polling& polling,
                            BucketOf bucketOf, Place place)
{
    const uint32 workers =
        std::min(threadsWorth(itemCount, scatteredItems, threadCount), std::max(bucketCount, 1u));
    const auto firstBucket = [&](uint64 w) { return static_cast<uint32>(uint64{bucketCount} * w / workers); };
    Array<uint32> next(bucketCount);
    std::vector<uint32> before(std::size_t{workers} + 1, 0);
    // step(begin, end) over [0, count) on the present worker
    const auto walk = [&](uint32 count, auto step)
    {
        for (uint32 begin = 0; begin < count;)
        {
            const uint32 end = begin + std::min<uint32>(scatteredItems, count - begin);
            step(begin, end);
            begin = end;
            if (!polling.goOn()) return false;
        }
        return true;
    };
    polledFor(polling, workers, workers,
              [&](uint32, uint64 w, uint64)
              {
                  const uint32 low = firstBucket(w), size = firstBucket(w + 1) - low;
                  uint32* counts = next.data();
                  uint32 count = 0;
                  if (!walk(size, [&](uint32 begin, uint32 end)
                            { std::fill(counts + low + begin, counts + low + end, 0u); }))
                      return;
                  walk(itemCount,
                       [&](uint32 begin, uint32 end)
                       {
                           for (uint32 item = begin; item < end; ++item)
                           {
                               const uint32 bucket = bucketOf(item);
                               if (bucket - low >= size) continue;
                               ++counts[bucket];
                               ++count;
                           }
                       });
                  before[w + 1] = count;
              });
    if (polling.isStopped()) return next;
    for (uint32 w = 0; w < workers; ++w) before[w + 1] += before[w];
    polledFor(polling, workers, workers,
              [&](uint32, uint64 w, uint64)
              {
                  const uint32 low = firstBucket(w), size = firstBucket(w + 1) - low;
                  uint32* places = next.data();
                  uint32 position = before[w];
                  if (!walk(size,
                            [&](uint32 begin, uint32 end)
                            {
                                for (uint32 bucket = low + begin; bucket < low + end; ++bucket)
                                    position += std::exchange(places[bucket], position);
                            }))
                      return;
                  walk(itemCount,
                       [&](uint32 begin, uint32 end)
                       {
                           for (uint32 item = begin; item < end; ++item)
                           {
                               const uint32 bucket = bucketOf(item);
                               if (bucket - low < size) place(item, places[bucket]++);
                           }
                       });
              });
    return next;
}

}  // namespace tavrix::detail
