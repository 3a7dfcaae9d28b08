#pragma once

#include <algorithm>

#include <tavrix/foundation/Array.h>
#include <tavrix/foundation/Tuple.h>

namespace tavrix::detail
{

/// One more than the largest index that the triples use; 0 without triples.
inline uint64 neededEntries(const Array<Index3>& triples)
{
    uint32 largest = 0;
    for (const Index3& t : triples) largest = std::max(largest, std::max(t.a, std::max(t.b, t.c)));
    return triples.empty() ? 0 : uint64{largest} + 1;
}

}  // namespace tavrix::detail
