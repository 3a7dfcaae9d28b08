#pragma once

// What kernels share that sum over runs of points eight at a time. Included by kernel sources only:
// everything is in the namespace TX_KERNEL.

#include <tavrix/platform/Types.h>

namespace tavrix::detail::TX_KERNEL
{

constexpr uint32 lanes = 8;

/// Eight zeros, and eight numbers above every squared distance that counts.
constexpr float beyond[2 * lanes] = {0, 0, 0, 0, 0, 0, 0, 0, 2, 2, 2, 2, 2, 2, 2, 2};

inline float larger(float a, float b) { return a > b ? a : b; }
inline float smaller(float a, float b) { return a < b ? a : b; }

/// A squared distance, at most 1, and 1 where it is not to count: where it is not a number (for which the
/// order of the arguments matters) and where atLeast is above 1.
inline float limited(float squaredDistance, float atLeast)
{
    return smaller(larger(atLeast, squaredDistance), 1.0f);
}

/// The sum of eight partial sums.
inline float sumOf(const float (&s)[lanes])
{
    return ((s[0] + s[4]) + (s[2] + s[6])) + ((s[1] + s[5]) + (s[3] + s[7]));
}

/// Calls add(first, atLeast) for the points of the runs (begin and end by turns), eight at a time from
/// `first` on; those where atLeast is above 1 lie behind the run.
template <class Add>
inline void forEachEight(const uint32* bounds, uint32 runCount, Add add)
{
    for (uint32 r = 0; r < runCount; ++r)
        for (uint32 n = bounds[2 * r], end = bounds[2 * r + 1]; n < end; n += lanes)
            add(n, beyond + (end - n < lanes ? lanes - (end - n) : 0));
}

}  // namespace tavrix::detail::TX_KERNEL
