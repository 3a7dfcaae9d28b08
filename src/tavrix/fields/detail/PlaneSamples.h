#pragma once

#include <tavrix/fields/GridDescription2.h>

namespace tavrix::detail
{

/// Bilinear interpolation between the nodes of a cell, of numbers or vectors.
template <class Value, class Field>
typename Field::Sample interpolated(const Field& field, const GridDescription2::Cell& cell)
{
    const auto x = static_cast<Value>(cell.x), y = static_cast<Value>(cell.y);
    const auto low = field.get(cell.i, cell.j) * (1 - y) + field.get(cell.i, cell.jHigh) * y;
    const auto high = field.get(cell.iHigh, cell.j) * (1 - y) + field.get(cell.iHigh, cell.jHigh) * y;
    return low * (1 - x) + high * x;
}

/// The derivative along x (axis 0) or y at a node: a central difference, a one-sided one at borders, zero
/// along an axis of one node.
template <class Value, class Field>
typename Field::Sample derivative(const Field& field, uint32 i, uint32 j, uint32 axis)
{
    const GridDescription2& grid = field.getGrid();
    const uint32 at = axis == 0 ? i : j, last = (axis == 0 ? grid.sizeX : grid.sizeY) - 1;
    const uint32 low = at > 0 ? at - 1 : at, high = std::min(at + 1, last);
    if (high == low) return {};
    const auto scale = static_cast<Value>(1 / (grid.separation * (high - low)));
    return axis == 0 ? (field.get(high, j) - field.get(low, j)) * scale
                     : (field.get(i, high) - field.get(i, low)) * scale;
}

}  // namespace tavrix::detail
