#pragma once

#include <tavrix/foundation/Array.h>
#include <tavrix/foundation/detail/Polling.h>
#include <tavrix/foundation/Tuple.h>
#include <tavrix/foundation/Vector3.h>

namespace tavrix::detail
{

/// The point of every position: positions at one place are one point where two borders meet in them, edge by
/// edge and in opposite directions, as along the seams of a texture. Points are numbered in the order of
/// their first positions; those that have no such partner are their own. What else lies at one place, such as
/// sheets that touch, stays apart. Means nothing once the polling has stopped.
Array<uint32> findSeamPoints(const Array<Vector3D>& positions, const Array<Index3>& faces, Polling& polling);

}  // namespace tavrix::detail
