#pragma once

#include <array>
#include <cmath>

#include <tavrix/fields/detail/PointCell.h>
#include <tavrix/fields/ScalarFieldModes.h>

namespace tavrix::detail
{

/// A finite difference along one axis: the sum of weight f(node + offset), divided.
struct Stencil
{
    std::array<int32, 4> offset;
    std::array<double, 4> weight;
    uint32 count;
    double divisor;
};

/// The first derivative at a node, given its index on the axis and the axis' size; nothing on an axis of one
/// node.
Stencil firstDerivative(EvalGradType type, uint32 index, uint32 size, double separation);

/// The second derivative: the central difference and, where that does not fit, the one-sided difference of
/// second order when asked for. A stencil without nodes tells that none fits.
Stencil secondDerivative(bool atBorders, uint32 index, uint32 size, double separation);

/// The first and second derivatives of a field at one place.
struct Derivatives
{
    double x, y, z, xx, yy, zz, xy, xz, yz;

    /// The divergence of the unit gradient: twice the mean curvature of the level set.
    double curvature() const
    {
        const double length = std::sqrt(x * x + y * y + z * z);
        return (x * x * (yy + zz) + y * y * (xx + zz) + z * z * (xx + yy) - 2 * x * y * xy - 2 * x * z * xz -
                2 * y * z * yz) /
               (length * length * length);
    }
};

/// Finite differences of samples on a grid. The largest separation counts on every axis.
template <class Coord, class Samples>
class NodeDerivatives
{
public:
    using Value = typename Samples::ValueType;
    using GradTypes = Tuple3<EvalGradType, EvalGradType, EvalGradType>;

    NodeDerivatives(const GridDescription3<Coord>& grid, const Samples& samples)
        : _grid(grid), _samples(samples), _h(static_cast<double>(grid.largestSeparation))
    {
    }

    double first(const Index3& node, uint32 axis, EvalGradType type) const
    {
        const Stencil stencil = firstDerivative(type, node[axis], _grid.sizeAlong(axis), _h);
        return weightedSum(node, axis, stencil) / stencil.divisor;
    }

    /// False when the stencil does not fit.
    bool second(const Index3& node, uint32 axis, bool atBorders, double& out) const
    {
        const Stencil stencil = secondDerivative(atBorders, node[axis], _grid.sizeAlong(axis), _h);
        if (stencil.count == 0) return false;
        out = weightedSum(node, axis, stencil) / stencil.divisor;
        return true;
    }

    /// The mixed derivative: a first difference of first differences. Without atBorders, false on the first
    /// and last planes of either axis.
    bool mixed(const Index3& node, uint32 axis1, uint32 axis2, bool atBorders, double& out) const
    {
        if (!atBorders && (isAtEnd(node, axis1) || isAtEnd(node, axis2))) return false;
        constexpr EvalGradType type = TX_FIELD_GRAD_SECOND_ORDER;
        const Stencil outer = firstDerivative(type, node[axis1], _grid.sizeAlong(axis1), _h);
        const Stencil inner = firstDerivative(type, node[axis2], _grid.sizeAlong(axis2), _h);
        double sum = 0;
        for (uint32 n = 0; n < outer.count; ++n)
            sum += outer.weight[n] * weightedSum(moved(node, axis1, outer.offset[n]), axis2, inner);
        out = sum / (outer.divisor * inner.divisor);
        return true;
    }

    Vector3D gradient(const Index3& node, const GradTypes& types) const
    {
        return {first(node, 0, types.a), first(node, 1, types.b), first(node, 2, types.c)};
    }

    bool all(const Index3& node, bool atBorders, Derivatives& d) const
    {
        const EvalGradType type = atBorders ? TX_FIELD_GRAD_SECOND_ORDER : TX_FIELD_GRAD_CENTRAL;
        d.x = first(node, 0, type);
        d.y = first(node, 1, type);
        d.z = first(node, 2, type);
        return second(node, 0, atBorders, d.xx) && second(node, 1, atBorders, d.yy) &&
               second(node, 2, atBorders, d.zz) && mixed(node, 0, 1, atBorders, d.xy) &&
               mixed(node, 0, 2, atBorders, d.xz) && mixed(node, 1, 2, atBorders, d.yz);
    }

    /// The nodes' gradients, interpolated in a cell.
    Vector3<Value> gradientIn(const PointCell<Coord>& cell, const GradTypes& types) const
    {
        return convert<Value>(cell.interpolate([&](const Index3& node) { return gradient(node, types); }));
    }

    /// The curvature from the nodes' derivatives, interpolated in a cell; false when a stencil does not fit
    /// at a node that counts.
    Tuple2<bool, Value> curvatureIn(const PointCell<Coord>& cell, bool atBorders) const
    {
        std::array<double, 9> sums{};
        for (uint32 c = 0; c < 8; ++c)
        {
            if (cell.weight[c] == 0) continue;
            Derivatives d;
            if (!all(cell.corner(c), atBorders, d)) return {false, failedValue<Value>};
            const double weight = static_cast<double>(cell.weight[c] / cell.weightSum);
            const std::array<double, 9> values{d.x, d.y, d.z, d.xx, d.yy, d.zz, d.xy, d.xz, d.yz};
            for (uint32 n = 0; n < 9; ++n) sums[n] += weight * values[n];
        }
        const Derivatives mean{sums[0], sums[1], sums[2], sums[3], sums[4],
                               sums[5], sums[6], sums[7], sums[8]};
        return {true, static_cast<Value>(mean.curvature())};
    }

private:
    bool isAtEnd(const Index3& node, uint32 axis) const
    {
        return node[axis] == 0 || node[axis] + 1 >= _grid.sizeAlong(axis);
    }

    static Index3 moved(Index3 node, uint32 axis, int32 offset)
    {
        node[axis] += static_cast<uint32>(offset);
        return node;
    }

    double weightedSum(const Index3& node, uint32 axis, const Stencil& stencil) const
    {
        double sum = 0;
        for (uint32 n = 0; n < stencil.count; ++n)
        {
            const Index3 at = moved(node, axis, stencil.offset[n]);
            sum += stencil.weight[n] * static_cast<double>(_samples(at.a, at.b, at.c));
        }
        return sum;
    }

    const GridDescription3<Coord>& _grid;
    const Samples& _samples;
    double _h;
};

}  // namespace tavrix::detail
