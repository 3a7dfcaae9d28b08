#include <tavrix/particles/detail/Interpolation.h>

#include <tavrix/platform/detail/CpuFeatures.h>

namespace tavrix::detail
{

namespace plain
{
void averageValues(const ValueRuns&, const float (&)[3], float, float (&)[3]);
}

namespace avx2
{
void averageValues(const ValueRuns&, const float (&)[3], float, float (&)[3]);
}

void averageValues(const ValueRuns& runs, const float (&place)[3], float reciprocalReach, float (&average)[3])
{
#if defined(TX_AVX2_KERNELS)
    if (hasAvx2()) return avx2::averageValues(runs, place, reciprocalReach, average);
#endif
    plain::averageValues(runs, place, reciprocalReach, average);
}

}  // namespace tavrix::detail
