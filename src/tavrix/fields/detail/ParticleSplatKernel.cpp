// The kernel loop, compiled once for each instruction set into a namespace of its own.

#include <tavrix/fields/detail/ParticleSplat.h>
#include <tavrix/fields/detail/SplatRows.h>

#include <math.h>

namespace tavrix::detail::TX_KERNEL
{

constexpr double farAway = 1e300;

/// Gives `count` consecutive samples the kernel's values, where a squared distance is rowPart + zPart[n].
/// Distances beyond the reach change nothing: there the maximum gets a negative value and the sum 0.
template <SplatMerge merge, class Value>
inline void splatLanes(Value* __restrict samples, const double* __restrict zPart, uint32 count,
                       double rowPart, float squaredReach, float scale)
{
    for (uint32 n = 0; n < count; ++n)
    {
        const auto d2 = static_cast<float>(rowPart + zPart[n]);
        const float t = 1.0f - d2 / squaredReach;
        if constexpr (merge == SplatMerge::Maximum)
        {
            const auto v = static_cast<Value>(t * t * t);
            samples[n] = v > samples[n] ? v : samples[n];
        }
        else
        {
            const float c = t > 0.0f ? t : 0.0f;
            samples[n] += static_cast<Value>(scale * (c * c * c));
        }
    }
}

template <SplatMerge merge, class Value>
inline void splatParticle(const SplatTarget<Value>& target, const SplatKernel& kernel,
                          const Particle& particle)
{
    const float reach = particle.r * kernel.reach;
    const float squaredReach = reach * reach;
    const double limit = squaredReach;
    const double center[3] = {particle.x, particle.y, particle.z};
    const double steps = reach / target.largestSeparation;
    const double reachInNodes = steps < maxReachInNodes ? ceilOf(steps) : maxReachInNodes;
    double cell[3];
    NodeRange range[3];
    for (uint32 axis = 0; axis < 3; ++axis)
    {
        cell[axis] = (center[axis] - target.nodes[axis][0]) * target.reciprocal[axis];
        const double first = floorOf(cell[axis]) - reachInNodes;
        range[axis] =
            NodeRange::between(first, first + 2 * reachInNodes + 1, target.low[axis], target.high[axis]);
        if (range[axis].isEmpty()) return;
    }

    double* zPart = target.scratch + lanes;
    const uint32 zFirst = range[2].low, zCount = range[2].high - zFirst;
    for (uint32 n = 0; n < lanes; ++n)
        zPart[static_cast<std::ptrdiff_t>(n) - lanes] = zPart[zCount + n] = farAway;
    for (uint32 n = 0; n < zCount; ++n)
    {
        const double d = target.nodes[2][zFirst + n] - center[2];
        zPart[n] = d * d;
    }

    for (uint32 i = range[0].low; i < range[0].high; ++i)
    {
        const double dx = target.nodes[0][i] - center[0];
        for (uint32 j = range[1].low; j < range[1].high; ++j)
        {
            const double dy = target.nodes[1][j] - center[1];
            const double rowPart = dx * dx + dy * dy;
            if (rowPart > limit) continue;
            const double half = floorOf(sqrt(limit - rowPart) * target.reciprocal[2]) + 1;
            const double first = floorOf(cell[2]) - half;
            const NodeRange run = NodeRange::between(first, first + 2 * half + 1, zFirst, zFirst + zCount);
            if (run.isEmpty()) continue;
            Value* row = target.samples + (i - target.rowStart[0]) * target.strideX +
                         (j - target.rowStart[1]) * target.strideY;
            applyAlongRun(row, target.rowStart[2], target.rowLength, run, zPart, zFirst,
                          [&](Value* samples, const double* z, uint32 count)
                          { splatLanes<merge>(samples, z, count, rowPart, squaredReach, kernel.scale); });
        }
    }
}

template <class Value>
void splat(const SplatTarget<Value>& target, const SplatKernel& kernel, const Particle* particles,
           std::size_t count)
{
    if (kernel.merge == SplatMerge::Maximum)
        for (std::size_t n = 0; n < count; ++n)
            splatParticle<SplatMerge::Maximum>(target, kernel, particles[n]);
    else
        for (std::size_t n = 0; n < count; ++n) splatParticle<SplatMerge::Sum>(target, kernel, particles[n]);
}

template void splat(const SplatTarget<float>&, const SplatKernel&, const Particle*, std::size_t);
template void splat(const SplatTarget<double>&, const SplatKernel&, const Particle*, std::size_t);

}  // namespace tavrix::detail::TX_KERNEL
