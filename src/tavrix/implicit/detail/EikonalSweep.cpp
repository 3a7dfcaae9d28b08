#include <tavrix/implicit/detail/EikonalSweep.h>

#include <tavrix/platform/detail/CpuFeatures.h>

namespace tavrix::detail
{

namespace plain
{
template <class T>
T sweepPlane(const EikonalPlane<T>&, SweepMark<T>*);
}

namespace avx2
{
template <class T>
T sweepPlane(const EikonalPlane<T>&, SweepMark<T>*);
}

template <class T>
T sweepPlane(const EikonalPlane<T>& plane, SweepMark<T>* scratch)
{
#if defined(TX_AVX2_KERNELS)
    if (hasAvx2()) return avx2::sweepPlane(plane, scratch);
#endif
    return plain::sweepPlane(plane, scratch);
}

template float sweepPlane(const EikonalPlane<float>&, SweepMark<float>*);
template double sweepPlane(const EikonalPlane<double>&, SweepMark<double>*);

}  // namespace tavrix::detail
