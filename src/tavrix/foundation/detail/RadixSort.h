#pragma once

#include <tavrix/foundation/Array.h>

namespace tavrix::detail
{

/// Sorts 64-bit items by their upper 32 bits, ascending and stable: least-significant-digit radix sort,
/// linear time, one scratch array. The same result for every thread count.
void radixSortByUpperHalf(Array<uint64>& items, uint32 threadCount);

}  // namespace tavrix::detail
