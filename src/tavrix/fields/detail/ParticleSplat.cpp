#include <tavrix/fields/detail/ParticleSplat.h>

#include <cmath>

#include <tavrix/fields/detail/Lattice.h>

namespace tavrix::detail
{

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
    TX_RUN_KERNEL(splat, target, *this, particles, count);
}

template void SplatKernel::splat(const SplatTarget<float>&, const Particle*, std::size_t) const;
template void SplatKernel::splat(const SplatTarget<double>&, const Particle*, std::size_t) const;

}  // namespace tavrix::detail
