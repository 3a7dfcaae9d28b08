#pragma once

#include <tavrix/foundation/detail/Kernel.h>
#include <tavrix/platform/Types.h>

namespace tavrix::detail
{

/// Nodes on either side of one that its derivatives look at.
inline constexpr uint32 advectionReach = 3;

/// Consecutive nodes of a row, and where the samples around them are.
struct AdvectionRun
{
    uint32 count;
    const float* start;  ///< the samples at the beginning of the step
    const float* z;      ///< the samples themselves; advectionReach more on either side can be read
    const float* x[2 * advectionReach];  ///< the rows from 3 before to 3 behind, without the own one
    const float* y[2 * advectionReach];
    const float *speedX, *speedY, *speedZ;  ///< in separations along each axis
};

/// advectRun makes a step of df/dt = -v . grad f: out = keep start + (1 - keep) (f - timeStep v . grad f),
/// where each derivative is the fifth-order weighted essentially non-oscillatory one of the upwind side
/// (Jiang and Peng, SIAM Journal on Scientific Computing 21, 2000). Its weights know no scale: epsilon is a
/// millionth of the largest difference squared.
///
/// findVarying tells of each node of a row whether its sample differs by more than the tolerance from one of
/// those beside it, in the rows before and behind, or along its own, of which row[-1] and row[count] are read
/// as well: 1, or else 0.
TX_DECLARE_KERNEL(void advectRun(const AdvectionRun& run, float keep, float timeStep, float* __restrict out);
                  void findVarying(const float* row, const float* const (&beside)[4], uint32 count,
                                   float tolerance, uint8* __restrict varying);)

}  // namespace tavrix::detail
