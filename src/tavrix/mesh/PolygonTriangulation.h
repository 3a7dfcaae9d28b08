#pragma once

#include <span>

#include <tavrix/foundation/Array.h>
#include <tavrix/foundation/Tuple.h>
#include <tavrix/foundation/Vector3.h>
#include <tavrix/platform/Export.h>

namespace tavrix
{

/// Cuts a polygon of n corners, convex or not and nearly planar, into n - 2 triangles over the corners'
/// numbers, which replace what `triangles` holds; none for fewer than three corners. They wind as the polygon
/// does.
///
/// The corners are projected along the axis nearest to the polygon's Newell normal, and sides are decided
/// exactly there. A polygon that the first corner sees from within half a turn, such as any strictly convex
/// one, becomes the fan (0, 1, 2), (0, 2, 3), ...; from any other one ears are clipped, in a fixed order.
/// Corners on a line and corners at one place are no hindrance: triangles without area come last. Polygons
/// that cross themselves, have no area or are not finite get n - 2 triangles of some kind. O(n) for a fan,
/// else about O(n^1.5).
TX_GEOMETRY_API void triangulatePolygon(std::span<const Vector3D> corners, Array<Index3>& triangles);

}  // namespace tavrix
