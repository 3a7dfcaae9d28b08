#pragma once

#include <tavrix/foundation/detail/Kernel.h>
#include <tavrix/platform/Types.h>

namespace tavrix::detail
{

/// Sorted points with a vector each, and runs of them, begin and end by turns. Eight numbers behind the end
/// of each run are readable, and all values are finite.
struct ValueRuns
{
    const float* coordinates[3];
    const float* values[3];
    const uint32* bounds;
    uint32 count;
};

/// averageValues computes the average of the values around a place, weighted by (1 - d^2 / reach^2)^3; zero
/// without any.
TX_DECLARE_KERNEL(void averageValues(const ValueRuns& runs, const float (&place)[3], float reciprocalReach,
                                     float (&average)[3]);)

}  // namespace tavrix::detail
