#include <tavrix/fields/detail/EllipsoidSplat.h>
#include <tavrix/fields/detail/SplatRows.h>

namespace tavrix::detail::TX_KERNEL
{

/// Offsets along z that no ellipsoid reaches, and whose squares are finite.
constexpr float farAway = 1e18f;

/// Along a row of nodes in z, q - 1 is the polynomial (square z + linear) z + constant of the offset z.
struct Rows
{
    static constexpr uint32 capacity = 32;
    float linear[capacity], constant[capacity];
    bool isReached[capacity];  ///< whether q is below 1 anywhere
};

/// Gives `width` samples the kernel's values. Beyond its reach nothing changes: both merges get 0 there.
template <SplatMerge merge, uint32 width, class Value>
inline void splatLanes(Value* __restrict samples, const float* __restrict offsets, float square, float linear,
                       float constant, float amplitude)
{
    for (uint32 n = 0; n < width; ++n)
    {
        const float z = offsets[n];
        const float t = -((square * z + linear) * z + constant);
        const float c = t > 0.0f ? t : 0.0f;
        const auto v = static_cast<Value>(amplitude * (c * c * c));
        if constexpr (merge == SplatMerge::Maximum)
            samples[n] = v > samples[n] ? v : samples[n];
        else
            samples[n] += v;
    }
}

/// The nodes of an axis that an ellipsoid's box may hold.
template <class Value>
inline NodeRange nodesOf(const SplatTarget<Value>& target, const Ellipsoid& e, uint32 axis, double center)
{
    const double cell = (center - target.origin[axis]) * target.reciprocal[axis];
    const double steps = e.extent[axis] * target.reciprocal[axis];
    const double reach = steps < maxReachInNodes ? steps : maxReachInNodes;
    const double first = floorOf(cell - reach) - target.firstNode[axis];
    const double last = floorOf(cell + reach) - target.firstNode[axis];
    return NodeRange::between(first, last + 1, target.low[axis], target.high[axis]);
}

/// The offsets in z from the centre of the nodes in the range, and far ones on either side.
template <class Value>
inline float* offsetsAlongZ(const SplatTarget<Value>& target, NodeRange range, double center)
{
    float* offsets = reinterpret_cast<float*>(target.scratch) + lanes;
    const uint32 count = range.high - range.low;
    for (uint32 n = 0; n < lanes; ++n)
        offsets[static_cast<std::ptrdiff_t>(n) - lanes] = offsets[count + n] = farAway;
    for (uint32 n = 0; n < count; ++n)
        offsets[n] = static_cast<float>(target.nodes[2][range.low + n] - center);
    return offsets;
}

/// The rows at the offset x from the centre and the y coordinates given.
inline void setUpRows(Rows& rows, const Ellipsoid& e, double x, const double* __restrict nodesY, uint32 count)
{
    const double square = e.zz, centerY = e.y;
    const double xx = e.xx * x * x - 1, xy = 2 * (e.xy * x), yy = e.yy, xz = 2 * (e.xz * x),
                 yz = 2 * double{e.yz};
    for (uint32 n = 0; n < count; ++n)
    {
        const double y = nodesY[n] - centerY;
        const double linear = xz + yz * y;
        const double constant = xx + (xy + yy * y) * y;
        rows.linear[n] = static_cast<float>(linear);
        rows.constant[n] = static_cast<float>(constant);
        rows.isReached[n] = linear * linear > 4 * square * constant;
    }
}

/// Goes along the part of every row that the ellipsoid reaches, `width` samples at a time.
template <SplatMerge merge, uint32 width, class Value>
inline void splatRows(const SplatTarget<Value>& target, const Ellipsoid& e, const NodeRange (&range)[3],
                      const RowPart& part, const float* offsets)
{
    const float square = e.zz, amplitude = e.amplitude;
    Rows rows;
    for (uint32 i = range[0].low; i < range[0].high; ++i)
        for (uint32 j = range[1].low; j < range[1].high; j += Rows::capacity)
        {
            const uint32 left = range[1].high - j, count = left < Rows::capacity ? left : Rows::capacity;
            setUpRows(rows, e, target.nodes[0][i] - double{e.x}, target.nodes[1] + j, count);
            Value* row = target.samples + (i - target.rowStart[0]) * target.strideX +
                         (j - target.rowStart[1]) * target.strideY + part.start;
            for (uint32 n = 0; n < count; ++n, row += target.strideY)
            {
                if (!rows.isReached[n]) continue;
                const float linear = rows.linear[n], constant = rows.constant[n];
                for (uint32 k = 0; k < part.count; k += width)
                    splatLanes<merge, width>(row + k, offsets + k, square, linear, constant, amplitude);
            }
        }
}

template <SplatMerge merge, class Value>
inline void splatEllipsoid(const SplatTarget<Value>& target, const Ellipsoid& e)
{
    const double center[3] = {e.x, e.y, e.z};
    NodeRange range[3];
    for (uint32 axis = 0; axis < 3; ++axis)
    {
        range[axis] = nodesOf(target, e, axis, center[axis]);
        if (range[axis].isEmpty()) return;
    }
    const RowPart part = RowPart::covering(range[2], target.rowStart[2], target.rowLength);
    const float* offsets = offsetsAlongZ(target, range[2], center[2]) + part.skipped;
    if (part.isInGroups())
        splatRows<merge, lanes>(target, e, range, part, offsets);
    else
        splatRows<merge, 1>(target, e, range, part, offsets);
}

template <class Value>
void splat(const SplatTarget<Value>& target, SplatMerge merge, const Ellipsoid* ellipsoids, std::size_t count)
{
    if (merge == SplatMerge::Maximum)
        for (std::size_t n = 0; n < count; ++n) splatEllipsoid<SplatMerge::Maximum>(target, ellipsoids[n]);
    else
        for (std::size_t n = 0; n < count; ++n) splatEllipsoid<SplatMerge::Sum>(target, ellipsoids[n]);
}

template void splat(const SplatTarget<float>&, SplatMerge, const Ellipsoid*, std::size_t);
template void splat(const SplatTarget<double>&, SplatMerge, const Ellipsoid*, std::size_t);

}  // namespace tavrix::detail::TX_KERNEL
