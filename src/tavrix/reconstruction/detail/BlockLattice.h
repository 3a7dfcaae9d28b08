#pragma once

#include <array>

#include <tavrix/fields/detail/LatticeNodes.h>

// The lattice on which surfaces are made: node n of an axis lies at n times the spacing, for every scene the
// same. It is cut into blocks of blockEdge cells a side, at whole multiples as well. A block has the nodes of
// all its cells, so that neighbours share a layer of nodes, and the edges between these.
//
// An edge of the shared layers belongs to the lexicographically smallest block that has it: along its own
// axis an edge starts at node 0 to blockEdge - 1 of its block, across at node 1 to blockEdge.

namespace tavrix::detail
{

inline constexpr uint32 blockShift = 5, blockEdge = 1u << blockShift, blockNodes = blockEdge + 1;

/// A block by its steps from the lattice's first block; in the order in which blocks come.
using BlockIndex = std::array<uint32, 3>;

/// The part of the lattice that a scene may touch.
struct BlockLattice : LatticeSteps
{
    double spacing;
    int64 firstNode[3];  ///< of the first block; multiples of blockEdge

    /// The lattice step before a coordinate.
    static int64 stepBefore(double coordinate, double reciprocal)
    {
        const double steps = coordinate * reciprocal;
        const auto truncated = static_cast<int64>(steps);
        return truncated - (static_cast<double>(truncated) > steps ? 1 : 0);
    }

    /// The cell along an axis in which a place lies, from the first block on.
    uint32 cellAlong(uint32 axis, float coordinate) const
    {
        return static_cast<uint32>(stepBefore(coordinate, reciprocal[axis]) - firstNode[axis]);
    }

    /// The lattice's number of a block's first node along an axis.
    int64 nodeOf(const BlockIndex& block, uint32 axis) const
    {
        return firstNode[axis] + int64{block[axis]} * blockEdge;
    }
};

/// What a lattice must cover, in its steps along each axis: the places that count, and how far around them
/// something may be.
struct LatticeExtent
{
    double low[3], high[3];
    double reach[3];

    bool isEmpty() const { return !(low[0] <= high[0]); }
    void extend(const LatticeExtent& other);
};

/// Steps to spare before the extent: searches may begin that much before it.
inline constexpr uint32 latticeMargin = 8;

/// Whether a lattice can cover the extent: 2^31 steps along each axis at most, within 2^52 steps of 0, and a
/// reach of 2^19 of them.
bool isCoverable(const LatticeExtent& extent);
/// The lattice of a coverable extent that is not empty.
BlockLattice latticeOver(const LatticeSteps& steps, const LatticeExtent& extent);

}  // namespace tavrix::detail
