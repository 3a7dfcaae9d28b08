#pragma once

#include <tavrix/foundation/CancelCallback.h>
#include <tavrix/particles/NeighbourGrid.h>

namespace tavrix
{

/// The number of other sorted points of the grid closer than `radius` to each position that it was made of, in
/// the order of the positions; 0 for those that are not finite. Points at one place count one another. Linear in
/// the pairs of points within a few radii.
TX_GEOMETRY_API Array<uint32> countNeighbours(const NeighbourGrid& grid, const Array<Vector3F>& positions,
                                              double radius, uint32 threadCount);

/// Carries a quantity from particles to places: the average of the values around a place, weighted by
/// (1 - d^2 / reach^2)^3, as in Shepard's interpolation.
///
/// values: one per position that the grid was made of. Within the span of the values, and the same for every thread
/// count. A place with no particle in reach gets zero, and so do all places from the poll of the callback on that
/// stops the work.
TX_GEOMETRY_API Array<Vector3F> interpolateAtPlaces(const NeighbourGrid& grid, const Array<Vector3F>& values,
                                                    const Array<Vector3D>& places, double reach,
                                                    uint32 threadCount, CancelCallback callback);

}  // namespace tavrix
