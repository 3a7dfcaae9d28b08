#pragma once

#include <algorithm>
#include <vector>

#include <tavrix/foundation/Array.h>
#include <tavrix/foundation/detail/Polling.h>
#include <tavrix/foundation/Tuple.h>

namespace tavrix::detail
{

/// One more than the largest index that the triples use; 0 without triples. Means nothing once the polling
/// has stopped.
inline uint64 neededEntries(const Array<Index3>& triples, uint32 threadCount, Polling& polling)
{
    std::vector<uint32> largest(std::max(threadCount, 1u));
    inPieces(polling, triples.size(), lightItems, threadCount,
             [&](uint32 worker, uint64 begin, uint64 end)
             {
                 uint32 most = largest[worker];
                 for (const Index3* t = triples.data() + begin; t != triples.data() + end; ++t)
                     most = std::max(most, std::max(t->a, std::max(t->b, t->c)));
                 largest[worker] = most;
             });
    return triples.empty() ? 0 : uint64{*std::max_element(largest.begin(), largest.end())} + 1;
}

inline uint64 neededEntries(const Array<Index3>& triples)
{
    Polling none(nullptr);
    return neededEntries(triples, 1, none);
}

}  // namespace tavrix::detail
