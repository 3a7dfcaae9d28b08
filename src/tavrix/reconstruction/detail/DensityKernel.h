#pragma once

#include <tavrix/fields/detail/NeighbourMomentsKernel.h>

namespace tavrix::detail
{

/// The points that are looked at at once, of which there is a multiple: loops of eight would be unrolled and
/// not vectorised.
inline constexpr uint32 densityLanes = 16;

/// The sum of (1 - d^2 / R^2)^3 over the points within the reach R of a place.
TX_DECLARE_KERNEL(float sumOfKernels(const Points& points, const float (&place)[3],
                                     float reciprocalSquaredReach);)

}  // namespace tavrix::detail
