#pragma once

#include <span>
#include <vector>

#include <tavrix/foundation/Array.h>
#include <tavrix/foundation/Vector2.h>
#include <tavrix/platform/Export.h>

namespace tavrix
{

/// Points in the plane, each joined to the next; where it is a loop, the last to the first as well, which is
/// not repeated at the end.
using Polyline = Array<Vector2D>;

/// Operations on polylines.
namespace polylinetools
{

/// What joinPolylines makes of pieces.
struct JoinedPolylines
{
    std::vector<Polyline> loops;   ///< pieces that close, by the first of each
    std::vector<Polyline> chains;  ///< those that do not
};

/// The total length of the segments, that of the closing one included for a loop.
TX_GEOMETRY_API double lengthOf(std::span<const Vector2D> points, bool isLoop);

/// Drops points that repeat their neighbour and spikes, where a polyline runs back along the segment that it
/// came; of a loop that encloses nothing between its points, no more than one point is left. The rest keeps
/// its order, and its start where that is no spike. Linear.
TX_GEOMETRY_API void dropRepeats(Polyline& points, bool isLoop);

/// Joins pieces at their ends: those at one place first, where ends go with starts, then, up to the gap,
/// those nearest to each other, whichever way their pieces run. A piece that is turned around is one of the
/// later ones. Ends at one place become one point, others a segment. Pieces of no points go. O(n log n) where
/// gaps are smaller than what lies between other ends.
TX_GEOMETRY_API JoinedPolylines joinPolylines(std::vector<Polyline> pieces, double gap = 0);

/// Leaves points out of a chain so that no point of the old one is further than the tolerance from the new
/// one, nor the other way round (Douglas and Peucker, The Canadian Cartographer 10, 1973). The ends stay; a
/// tolerance of 0 leaves out what lies on its segment to within rounding. O(n log n) for most chains, O(n^2)
/// at worst.
TX_GEOMETRY_API Polyline simplifyChain(std::span<const Vector2D> points, double tolerance);

/// The same for loops that belong together: loops that cross neither themselves nor one another do not
/// afterwards, and which lies in which stays as it was. Where a segment would cross another one, points come
/// back; a loop that would change sides keeps all of its points. Every loop that has an area keeps at least
/// three points, so that none is lost. Loops that cross before may do so afterwards.
TX_GEOMETRY_API std::vector<Polyline> simplifyLoops(const std::vector<Polyline>& loops, double tolerance);

}  // namespace polylinetools

}  // namespace tavrix
