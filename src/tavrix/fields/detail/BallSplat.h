#pragma once

#include <tavrix/fields/detail/SplatTarget.h>
#include <tavrix/foundation/detail/Kernel.h>

namespace tavrix::detail
{

struct LatticeSteps;

/// Centre and radius.
struct Particle
{
    float x, y, z, r;
};

/// Ball kernels: scale (1 - d^2 / R^2)^3 with R = reach r, merged by maximum (where the scale is 1) or by
/// sum; or the depth R - d, merged by maximum. Along each axis only the nodes within ceil(R /
/// largestSeparation) of the particle's cell count.
struct BallKernel
{
    using Particle = detail::Particle;

    SplatMerge merge;
    float reach;
    float scale;

    /// Whether the radius is above 0 and the square of its reach finite.
    bool isUsable(const Particle& particle) const;
    /// Lattice nodes along an axis between the particle and the end of its reach.
    double nodesReached(const LatticeSteps& lattice, const Particle& particle, uint32 axis) const;
    /// Adds the particles to the target, in their order. The particles are usable, and no further from the
    /// lattice than they reach.
    template <class Value>
    void splat(const SplatTarget<Value>& target, const Particle* particles, std::size_t count) const;
};

/// 1 at the particle, 0 at twice its radius.
inline constexpr BallKernel distanceKernel{SplatMerge::Maximum, 2.0f, 1.0f};

/// 1 at the particle's radius, 0 at k times its radius.
inline BallKernel metaballKernel(float influence)
{
    const float k = influence * 3.8f / 100.0f + 1.2f;
    const float t = 1.0f - (1.0f / k) * (1.0f / k);
    return {SplatMerge::Sum, k, 1.0f / (t * t * t)};
}

/// Centre and weight.
struct WeightedBall
{
    float x, y, z, weight;
};

/// Ball kernels of one size: scale weight (1 - d^2 / reach^2)^3, merged by sum.
struct WeightedBallKernel
{
    using Particle = WeightedBall;

    float reach;
    float scale;

    /// Whether the weight is above 0 and finite, and so is the square of the reach.
    bool isUsable(const WeightedBall& ball) const;
    /// As for BallKernel.
    /// @{
    double nodesReached(const LatticeSteps& lattice, const WeightedBall& ball, uint32 axis) const;
    template <class Value>
    void splat(const SplatTarget<Value>& target, const WeightedBall* balls, std::size_t count) const;
    /// @}
};

TX_DECLARE_KERNEL(template <class Value>
                  void splat(const SplatTarget<Value>& target, const BallKernel& kernel,
                             const Particle* particles, std::size_t count);
                  template <class Value>
                  void splat(const SplatTarget<Value>& target, const WeightedBallKernel& kernel,
                             const WeightedBall* balls, std::size_t count);)

}  // namespace tavrix::detail
