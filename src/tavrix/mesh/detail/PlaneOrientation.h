#pragma once

#include <tavrix/foundation/Vector2.h>

namespace tavrix::detail
{

/// The side of the line from a to b on which c lies: 1 to the left, -1 to the right, 0 on it. Exact for
/// coordinates of magnitudes up to some units, but for parts of them below 1e-150: a floating-point filter
/// (Shewchuk, Discrete & Computational Geometry 18, 1997), then the sum of exact products.
int sideOf(const Vector2<double>& a, const Vector2<double>& b, const Vector2<double>& c);

}  // namespace tavrix::detail
