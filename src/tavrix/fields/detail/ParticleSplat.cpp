#include <tavrix/fields/detail/ParticleSplat.h>

#include <tavrix/platform/detail/CpuFeatures.h>

namespace tavrix::detail
{

namespace plain
{
template <class Value>
void splat(const SplatTarget<Value>&, const SplatKernel&, const Particle*, std::size_t);
}

namespace avx2
{
template <class Value>
void splat(const SplatTarget<Value>&, const SplatKernel&, const Particle*, std::size_t);
}

template <class Value>
SplatFunction<Value> splatFunction()
{
#if defined(TX_AVX2_KERNELS)
    if (hasAvx2()) return avx2::splat<Value>;
#endif
    return plain::splat<Value>;
}

template SplatFunction<float> splatFunction<float>();
template SplatFunction<double> splatFunction<double>();

}  // namespace tavrix::detail
