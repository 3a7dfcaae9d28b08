#pragma once

#include <tavrix/foundation/Array.h>
#include <tavrix/foundation/detail/Polling.h>
#include <tavrix/foundation/Vector3.h>

namespace tavrix::detail
{

/// For every point the first one with the same coordinates, which may be itself. 0 equals -0, and what is not
/// a number what has the same bits. Linear but for points whose hashes agree by chance, in 16 bytes a point;
/// the result means nothing once the polling has stopped.
Array<uint32> firstEqualPoints(const Array<Vector3D>& points, Polling& polling);

}  // namespace tavrix::detail
