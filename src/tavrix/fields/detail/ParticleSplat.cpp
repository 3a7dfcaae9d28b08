#include <tavrix/fields/detail/ParticleSplat.h>

#include <cmath>

#include <tavrix/fields/detail/Lattice.h>
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

bool SplatKernel::isUsable(const Particle& particle) const
{
    const float R = particle.r * reach;
    return particle.r > 0 && R > 0 && std::isfinite(R * R);
}

double SplatKernel::nodesReached(const Lattice& lattice, const Particle& particle, uint32) const
{
    return double{particle.r * reach} / lattice.largestSeparation;
}

template <class Value>
void SplatKernel::splat(const SplatTarget<Value>& target, const Particle* particles, std::size_t count) const
{
#if defined(TX_AVX2_KERNELS)
    if (hasAvx2()) return avx2::splat(target, *this, particles, count);
#endif
    plain::splat(target, *this, particles, count);
}

template void SplatKernel::splat(const SplatTarget<float>&, const Particle*, std::size_t) const;
template void SplatKernel::splat(const SplatTarget<double>&, const Particle*, std::size_t) const;

}  // namespace tavrix::detail
