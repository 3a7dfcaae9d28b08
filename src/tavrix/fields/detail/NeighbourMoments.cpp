#include <tavrix/fields/detail/NeighbourMoments.h>

#include <tavrix/platform/detail/CpuFeatures.h>

namespace tavrix::detail
{

namespace plain
{
NeighbourMoments sumNeighbours(const PointRuns&, const float (&)[3], float);
MeanOffset meanOfNeighbours(const PointRuns&, const float (&)[3], const SymmetricMatrix&);
}  // namespace plain

namespace avx2
{
NeighbourMoments sumNeighbours(const PointRuns&, const float (&)[3], float);
MeanOffset meanOfNeighbours(const PointRuns&, const float (&)[3], const SymmetricMatrix&);
}  // namespace avx2

NeighbourMoments sumNeighbours(const PointRuns& runs, const float (&place)[3], float reciprocalReach)
{
#if defined(TX_AVX2_KERNELS)
    if (hasAvx2()) return avx2::sumNeighbours(runs, place, reciprocalReach);
#endif
    return plain::sumNeighbours(runs, place, reciprocalReach);
}

MeanOffset meanOfNeighbours(const PointRuns& runs, const float (&place)[3], const SymmetricMatrix& form)
{
#if defined(TX_AVX2_KERNELS)
    if (hasAvx2()) return avx2::meanOfNeighbours(runs, place, form);
#endif
    return plain::meanOfNeighbours(runs, place, form);
}

}  // namespace tavrix::detail
