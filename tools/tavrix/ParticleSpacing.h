#pragma once

#include <tavrix/foundation/Array.h>
#include <tavrix/foundation/Vector3.h>

namespace tavrix::tool
{

/// The typical distance between neighbouring particles: the median distance to the nearest other particle,
/// over up to two thousand particles picked evenly. Particles at one place do not count. 0 when no two
/// particles lie apart.
double estimateSpacing(const Array<Vector3F>& positions);

}  // namespace tavrix::tool
