#pragma once

#include <tavrix/foundation/Box3.h>
#include <tavrix/foundation/Tuple.h>
#include <tavrix/platform/Export.h>

namespace tavrix
{

/// A grid around a box whose nodes lie on whole multiples of the spacing, so that the grids of all frames of
/// a sequence share one lattice.
struct GridFit
{
    Vector3D sizes;   ///< nodes along each axis; whole, but not bound by what an index holds
    Vector3D center;  ///< of the nodes
    /// Between neighbouring nodes, along every axis.
    double spacing;

    /// The product of the sizes, in double precision.
    double nodeCount() const { return sizes.x * sizes.y * sizes.z; }
    /// Whether 32-bit indices number the nodes.
    bool isIndexable() const { return nodeCount() <= 4294967295.0; }
    /// The sizes as integers, of a grid that is indexable.
    TX_GEOMETRY_API Index3 size() const;
};

/// The grid over the box widened by the reach, and a layer of nodes more on every side. The spacing is above
/// 0 and the box finite.
TX_GEOMETRY_API GridFit fitGrid(const Box3D& box, double reach, double spacing);

/// The smallest spacing, at least the given one and rounded up to two digits, whose grid has at most
/// `mostNodes` nodes.
TX_GEOMETRY_API double fittingSpacing(const Box3D& box, double reach, double spacing, double mostNodes);

}  // namespace tavrix
