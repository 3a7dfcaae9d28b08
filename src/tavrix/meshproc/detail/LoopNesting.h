#pragma once

#include <span>
#include <vector>

#include <tavrix/foundation/Vector2.h>

namespace tavrix::detail
{

/// The smallest loop that each loop lies in, noIndex for those that lie in none. A loop lies in another one,
/// which then has the larger area, or the lower number, when that one's box holds its box and what is inside
/// of it just above its lowest point is inside of the other, exactly. A sweep over y: O(n log n), and for
/// each loop the edges at the height of its lowest point.
std::vector<uint32> findParents(const std::vector<std::span<const Vector2D>>& loops);

}  // namespace tavrix::detail
