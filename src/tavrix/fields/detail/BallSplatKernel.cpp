#include <tavrix/fields/detail/BallSplat.h>
#include <tavrix/fields/detail/SplatRows.h>

namespace tavrix::detail::TX_KERNEL
{

constexpr double farAway = 1e300;

/// Gives `width` samples the kernel's values, where a squared distance is rowPart + zPart[n]. Distances
/// beyond the reach change nothing: there the maximum gets a negative value and the sum 0. For depths the
/// scale is the reach.
template <SplatMerge merge, uint32 width, class Value>
inline void splatLanes(Value* __restrict samples, const double* __restrict zPart, double rowPart,
                       float squaredReach, float scale)
{
    for (uint32 n = 0; n < width; ++n)
    {
        if constexpr (merge == SplatMerge::Depth)
        {
            const auto v = static_cast<Value>(scale - sqrt(rowPart + zPart[n]));
            samples[n] = v > samples[n] ? v : samples[n];
            continue;
        }
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

/// Leaves out the nodes at the ends of the range that lie beyond the reach: along z that often saves a group
/// of lanes.
inline void trim(NodeRange& range, const double* nodes, double center, double squaredReach)
{
    const auto isBeyond = [&](uint32 node)
    { return (nodes[node] - center) * (nodes[node] - center) > squaredReach; };
    while (!range.isEmpty() && isBeyond(range.low)) ++range.low;
    while (!range.isEmpty() && isBeyond(range.high - 1)) --range.high;
}

/// The squares of the offsets in z from the centre of the nodes in the range, and far ones on either side.
template <class Value>
inline double* squaresAlongZ(const SplatTarget<Value>& target, NodeRange range, double center)
{
    double* squares = target.scratch + lanes;
    const uint32 count = range.high - range.low;
    for (uint32 n = 0; n < lanes; ++n)
        squares[static_cast<std::ptrdiff_t>(n) - lanes] = squares[count + n] = farAway;
    for (uint32 n = 0; n < count; ++n)
    {
        const double d = target.nodes[2][range.low + n] - center;
        squares[n] = d * d;
    }
    return squares;
}

/// Goes along the part of every row that the ball reaches, `width` samples at a time.
template <SplatMerge merge, uint32 width, class Value>
inline void splatRows(const SplatTarget<Value>& target, const double (&center)[3], float squaredReach,
                      float scale, const NodeRange (&range)[3], const RowPart& part, const double* squares)
{
    const double limit = squaredReach;
    for (uint32 i = range[0].low; i < range[0].high; ++i)
    {
        const double dx = target.nodes[0][i] - center[0];
        for (uint32 j = range[1].low; j < range[1].high; ++j)
        {
            const double dy = target.nodes[1][j] - center[1];
            const double rowPart = dx * dx + dy * dy;
            if (rowPart > limit) continue;
            Value* row = target.samples + (i - target.rowStart[0]) * target.strideX +
                         (j - target.rowStart[1]) * target.strideY + part.start;
            for (uint32 k = 0; k < part.count; k += width)
                splatLanes<merge, width>(row + k, squares + k, rowPart, squaredReach, scale);
        }
    }
}

/// For depths the scale is the reach.
template <SplatMerge merge, class Value>
inline void splatBall(const SplatTarget<Value>& target, const double (&center)[3], float reach, float scale)
{
    const double steps = reach / target.largestSeparation;
    const double reachInNodes = steps < maxReachInNodes ? ceilOf(steps) : maxReachInNodes;
    NodeRange range[3];
    for (uint32 axis = 0; axis < 3; ++axis)
    {
        const double cell = (center[axis] - target.origin[axis]) * target.reciprocal[axis];
        const double first = floorOf(cell) - target.firstNode[axis] - reachInNodes;
        range[axis] =
            NodeRange::between(first, first + 2 * reachInNodes + 1, target.low[axis], target.high[axis]);
        if (range[axis].isEmpty()) return;
    }
    const float squaredReach = reach * reach;
    for (uint32 axis = 0; axis < (merge == SplatMerge::Depth ? 2 : 3); ++axis)
    {
        trim(range[axis], target.nodes[axis], center[axis], squaredReach);
        if (range[axis].isEmpty()) return;
    }
    const RowPart part = RowPart::covering(range[2], target.rowStart[2], target.rowLength);
    const double* squares = squaresAlongZ(target, range[2], center[2]) + part.skipped;
    if (part.isInGroups())
        splatRows<merge, lanes>(target, center, squaredReach, scale, range, part, squares);
    else
        splatRows<merge, 1>(target, center, squaredReach, scale, range, part, squares);
}

template <SplatMerge merge, class Value>
inline void splatParticles(const SplatTarget<Value>& target, const BallKernel& kernel,
                           const Particle* particles, std::size_t count)
{
    for (std::size_t n = 0; n < count; ++n)
    {
        const Particle& p = particles[n];
        const float reach = p.r * kernel.reach;
        splatBall<merge>(target, {p.x, p.y, p.z}, reach, merge == SplatMerge::Depth ? reach : kernel.scale);
    }
}

template <class Value>
void splat(const SplatTarget<Value>& target, const BallKernel& kernel, const Particle* particles,
           std::size_t count)
{
    if (kernel.merge == SplatMerge::Maximum)
        splatParticles<SplatMerge::Maximum>(target, kernel, particles, count);
    else if (kernel.merge == SplatMerge::Sum)
        splatParticles<SplatMerge::Sum>(target, kernel, particles, count);
    else
        splatParticles<SplatMerge::Depth>(target, kernel, particles, count);
}

template <class Value>
void splat(const SplatTarget<Value>& target, const WeightedBallKernel& kernel, const WeightedBall* balls,
           std::size_t count)
{
    for (std::size_t n = 0; n < count; ++n)
    {
        const WeightedBall& b = balls[n];
        splatBall<SplatMerge::Sum>(target, {b.x, b.y, b.z}, kernel.reach, kernel.scale * b.weight);
    }
}

template void splat(const SplatTarget<float>&, const WeightedBallKernel&, const WeightedBall*, std::size_t);
template void splat(const SplatTarget<float>&, const BallKernel&, const Particle*, std::size_t);
template void splat(const SplatTarget<double>&, const BallKernel&, const Particle*, std::size_t);

}  // namespace tavrix::detail::TX_KERNEL
