#pragma once

#include <algorithm>

#include <tavrix/foundation/Array.h>
#include <tavrix/foundation/detail/Polling.h>
#include <tavrix/foundation/Tuple.h>

namespace tavrix::detail
{

/// One more than the largest index that the triples use; 0 without triples. Means nothing once the polling
/// has stopped.
inline uint64 neededEntries(const Array<Index3>& triples, Polling& polling)
{
    uint32 largest = 0;
    inPieces(polling, triples.size(), lightItems,
             [&](uint64 begin, uint64 end)
             {
                 for (const Index3* t = triples.data() + begin; t != triples.data() + end; ++t)
                     largest = std::max(largest, std::max(t->a, std::max(t->b, t->c)));
             });
    return triples.empty() ? 0 : uint64{largest} + 1;
}

inline uint64 neededEntries(const Array<Index3>& triples)
{
    Polling none(nullptr);
    return neededEntries(triples, none);
}

}  // namespace tavrix::detail
