#pragma once

#include <tavrix/foundation/CancelCallback.h>
#include <tavrix/particles/NeighbourGrid.h>

namespace tavrix
{

/// The number of other sorted points of the grid closer than `radius` to each position that it was made of,
/// in the order of the positions; 0 for those that are not finite. Points at one place count one another.
/// No count goes beyond `most`. Linear in the pairs of points within a few radii, and with a small `most`,
/// which ends each count early, in the points, however many lie at one place. Counts are 0 where the callback
/// stopped it before.
TX_GEOMETRY_API Array<uint32> countNeighbours(const NeighbourGrid& grid, const Array<Vector3F>& positions,
                                              double radius, uint32 threadCount = 1, uint32 most = noIndex,
                                              CancelCallback callback = nullptr);

/// The strays: numbers of the particles with fewer than `least` others closer than `radius`, and of those
/// that are not finite, ascending; none when the callback stopped it. Cost as of countNeighbours with a small
/// `most`.
TX_GEOMETRY_API Array<uint32> findStrays(const Array<Vector3F>& positions, double radius, uint32 least,
                                         uint32 threadCount = 1, CancelCallback callback = nullptr);

/// Carries a quantity from particles to places: the average of the values around a place, weighted by
/// (1 - d^2 / reach^2)^3, as in Shepard's interpolation.
///
/// values: one per position that the grid was made of; one that is not finite counts as zero. Single
/// precision, and the same for every thread count. A place that is not finite or has no particle in reach
/// gets zero, and so do the rest when the callback, polled every few milliseconds, stops the work.
/// Linear in the particles and in the pairs of places and particles within a few reaches.
TX_GEOMETRY_API Array<Vector3F> interpolateAtPlaces(const NeighbourGrid& grid, const Array<Vector3F>& values,
                                                    const Array<Vector3D>& places, double reach,
                                                    uint32 threadCount = 1,
                                                    CancelCallback callback = nullptr);

}  // namespace tavrix
