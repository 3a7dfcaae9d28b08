#include <tavrix/fields/detail/BallSplat.h>

#include <cmath>

#include <tavrix/fields/detail/LatticeNodes.h>

namespace tavrix::detail
{

bool BallKernel::isUsable(const Particle& particle) const
{
    const float R = particle.r * reach;
    return particle.r > 0 && R > 0 && std::isfinite(R * R);
}

double BallKernel::nodesReached(const LatticeSteps& lattice, const Particle& particle, uint32) const
{
    return double{particle.r * reach} / lattice.largestSeparation;
}

template <class Value>
void BallKernel::splat(const SplatTarget<Value>& target, const Particle* particles, std::size_t count) const
{
    TX_RUN_KERNEL(splat, target, *this, particles, count);
}

bool WeightedBallKernel::isUsable(const WeightedBall& ball) const
{
    return ball.weight > 0 && std::isfinite(ball.weight) && reach > 0 && std::isfinite(reach * reach);
}

double WeightedBallKernel::nodesReached(const LatticeSteps& lattice, const WeightedBall&, uint32) const
{
    return double{reach} / lattice.largestSeparation;
}

template <class Value>
void WeightedBallKernel::splat(const SplatTarget<Value>& target, const WeightedBall* balls,
                               std::size_t count) const
{
    TX_RUN_KERNEL(splat, target, *this, balls, count);
}

template void WeightedBallKernel::splat(const SplatTarget<float>&, const WeightedBall*, std::size_t) const;
template void BallKernel::splat(const SplatTarget<float>&, const Particle*, std::size_t) const;
template void BallKernel::splat(const SplatTarget<double>&, const Particle*, std::size_t) const;

}  // namespace tavrix::detail
