#pragma once

#include <tavrix/implicit/LevelSetSampling.h>

namespace tavrix
{

/// What becomes of two solids: all of both, what both share, or the first without the second.
enum class SolidOperation
{
    Union,
    Intersection,
    Difference
};

/// The grid of a combination: the nodes of the first surface, for a union continued on its lattice around the
/// second's. It may have more nodes than can be numbered.
TX_GEOMETRY_API GridFit combinedGrid(const LevelSet& first, const LevelSet& second, SolidOperation operation);

/// Combines a solid with another one, on the combinedGrid: the smaller distance of both for a union, the
/// larger one for an intersection, the larger one of the first and the second inverted for a difference.
///
/// The second surface may lie on any grid: it is resampled by trilinear interpolation, to the bit where nodes
/// coincide. Beyond its grid a solid has ended; one that reaches the border ends half a separation beyond, as
/// extractClosed closes it. The band is the first surface's, to which a narrower one is widened; within it
/// distances outside of a union and inside of the others stay exact, and fall short on the other side of
/// the edges where the surfaces meet (redistanceBand mends that). Both have one separation for all axes.
///
/// Returns false, and leaves the first surface as it was, when the callback stopped the work. Throws
/// std::length_error for a grid of more than 2^32 - 1 nodes. Linear in the nodes; the same bytes for every
/// thread count.
TX_GEOMETRY_API bool combine(LevelSet& first, const LevelSet& second, SolidOperation operation,
                             uint32 threadCount = 1, CancelCallback callback = nullptr);

}  // namespace tavrix
