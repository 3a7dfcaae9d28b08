#pragma once

#include <tavrix/foundation/detail/Kernel.h>
#include <tavrix/platform/Types.h>

namespace tavrix::detail
{

/// Points with a vector each, one array an axis; their number is a multiple of eight. Values are finite.
struct PointsWithValues
{
    const float* coordinates[3];
    const float* values[3];
    uint32 count;
};

/// averageValues computes the average of the values around a place, weighted by (1 - d^2 / reach^2)^3; zero
/// without any.
TX_DECLARE_KERNEL(void averageValues(const PointsWithValues& points, const float (&place)[3],
                                     float reciprocalReach, float (&average)[3]);)

}  // namespace tavrix::detail
