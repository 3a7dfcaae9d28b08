#pragma once

#include <tavrix/foundation/Array.h>
#include <tavrix/foundation/detail/Polling.h>

namespace tavrix::detail
{

/// Sorts 64-bit items by their upper 32 bits, ascending and stable: least-significant-digit radix sort,
/// linear time, one scratch array. The same result for every thread count.
/// In no certain order once the polling has stopped.
void radixSortByUpperHalf(Array<uint64>& items, uint32 threadCount, Polling& polling);

}  // namespace tavrix::detail
