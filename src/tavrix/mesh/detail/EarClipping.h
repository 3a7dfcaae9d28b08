#pragma once

#include <vector>

#include <tavrix/foundation/Array.h>
#include <tavrix/foundation/Tuple.h>
#include <tavrix/foundation/Vector2.h>

namespace tavrix::detail
{

/// Appends n - 2 triangles that fill a polygon of n >= 3 corners in the plane, counter-clockwise, of
/// coordinates that sideOf takes: first what turns back on itself, then ears in the order in which they
/// become ears, straight corners when there is no ear left, any other corners when there is neither, for then
/// the polygon crosses itself.
void clipEars(const std::vector<Vector2D>& points, Array<Index3>& triangles);

}  // namespace tavrix::detail
