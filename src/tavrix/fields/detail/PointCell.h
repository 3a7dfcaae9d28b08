#pragma once

#include <array>
#include <type_traits>

#include <tavrix/fields/GridDescription3.h>

namespace tavrix::detail
{

template <class T>
struct ScalarOf
{
    using Type = T;
};
template <class T>
struct ScalarOf<Vector3<T>>
{
    using Type = T;
};

/// The eight nodes around a point and their trilinear weights; corner c is high in x for bit 0, in y for bit
/// 1, in z for bit 2.
template <class Coord>
struct PointCell
{
    Index3 low, high;
    std::array<Coord, 8> weight;
    Coord weightSum;

    /// Weights are 0 in a cell so small that they underflow.
    template <class Scalar>
    Scalar narrowedWeight(uint32 c) const
    {
        const Coord share = weight[c] / weightSum;
        if constexpr (std::is_integral_v<Scalar>)
            return share > 0 ? static_cast<Scalar>(share) : Scalar(0);
        else
            return static_cast<Scalar>(share);
    }

    Index3 corner(uint32 c) const
    {
        return {c & 1 ? high.a : low.a, c & 2 ? high.b : low.b, c & 4 ? high.c : low.c};
    }

    /// The weighted mean of what the corners hold, scalars or vectors. Weights are divided by their sum and
    /// narrowed to the scalar.
    template <class ValueAt>
    auto interpolate(ValueAt valueAt) const
    {
        using Value = std::remove_cvref_t<std::invoke_result_t<ValueAt, Index3>>;
        using Scalar = typename ScalarOf<Value>::Type;
        Value sum{};
        for (uint32 c = 0; c < 8; ++c)
            sum = static_cast<Value>(sum + valueAt(corner(c)) * narrowedWeight<Scalar>(c));
        return sum;
    }
};

/// The cell around a point; false outside the closed box. Indices past the last node are clamped to it, so a
/// point on a high face has that plane twice.
template <class Coord>
bool findCell(const GridDescription3<Coord>& grid, const Vector3<Coord>& point, PointCell<Coord>& cell)
{
    if (!grid.contains(point)) return false;
    cell.low = grid.getCell(point);
    if (cell.low == noCell) return false;
    Vector3<Coord> toLow, toHigh;
    for (uint32 axis = 0; axis < 3; ++axis)
    {
        const uint32 low = cell.low[axis];
        const Coord node = grid.getCoordinate(axis, low);
        toLow[axis] = point[axis] - node;
        toHigh[axis] = node + grid.separation[axis] - point[axis];
        cell.high[axis] = low + 1 < grid.sizeAlong(axis) ? low + 1 : low;
    }
    cell.weightSum = 0;
    for (uint32 c = 0; c < 8; ++c)
    {
        cell.weight[c] =
            (c & 1 ? toLow.x : toHigh.x) * (c & 2 ? toLow.y : toHigh.y) * (c & 4 ? toLow.z : toHigh.z);
        cell.weightSum += cell.weight[c];
    }
    return true;
}

}  // namespace tavrix::detail
