#pragma once

#include <algorithm>
#include <cmath>
#include <iterator>

#include <tavrix/fields/GridDescription3.h>
#include <tavrix/foundation/Array.h>

namespace tavrix::detail
{

/// The distances of neighbouring nodes: one over each, and the largest.
struct LatticeSteps
{
    double reciprocal[3];
    double largestSeparation;
};

/// The nodes of a grid as the particle kernels need them, in double precision whatever the grid's own.
struct LatticeNodes : LatticeSteps
{
    uint32 size[3];
    Array<double> nodes[3];  ///< coordinates per axis

    template <class Coord>
    explicit LatticeNodes(const GridDescription3<Coord>& grid);

    /// Whether nodes grow along every axis, by steps whose reciprocals are numbers: particles can be placed.
    bool isAscending() const
    {
        return std::all_of(std::begin(reciprocal), std::end(reciprocal),
                           [](double r) { return r > 0 && std::isfinite(r); });
    }

    /// The cell along an axis, clamped to the lattice.
    uint32 clampedCell(uint32 axis, double coordinate) const
    {
        const double cell = (coordinate - nodes[axis][0]) * reciprocal[axis];
        return cell > 0 ? (cell < size[axis] - 1 ? static_cast<uint32>(cell) : size[axis] - 1) : 0;
    }
};

/// A box of nodes, half open.
struct NodeBox
{
    uint32 low[3], high[3];
};

}  // namespace tavrix::detail
