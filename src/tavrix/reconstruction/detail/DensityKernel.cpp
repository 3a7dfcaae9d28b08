#include <tavrix/reconstruction/detail/DensityKernel.h>

#include <tavrix/foundation/detail/KernelMath.h>

namespace tavrix::detail::TX_KERNEL
{

inline void addKernels(float* __restrict sums, const float* __restrict x, const float* __restrict y,
                       const float* __restrict z, const float (&place)[3], float reciprocal)
{
    for (uint32 n = 0; n < densityLanes; ++n)
    {
        const float dx = x[n] - place[0], dy = y[n] - place[1], dz = z[n] - place[2];
        const float t = 1.0f - (dx * dx + dy * dy + dz * dz) * reciprocal;
        const float c = t > 0.0f ? t : 0.0f;
        sums[n] += c * c * c;
    }
}

float sumOfKernels(const Points& points, const float (&place)[3], float reciprocalSquaredReach)
{
    static_assert(densityLanes == 2 * lanes);
    float sums[densityLanes] = {};
    const float *x = points.coordinates[0], *y = points.coordinates[1], *z = points.coordinates[2];
    for (uint32 n = 0; n < points.count; n += densityLanes)
        addKernels(sums, x + n, y + n, z + n, place, reciprocalSquaredReach);
    float halves[lanes];
    for (uint32 n = 0; n < lanes; ++n) halves[n] = sums[n] + sums[n + lanes];
    return sumOf(halves);
}

}  // namespace tavrix::detail::TX_KERNEL
