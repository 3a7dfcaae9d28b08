#pragma once

#include <tavrix/foundation/Box3.h>
#include <tavrix/foundation/Optional.h>
#include <tavrix/foundation/Tuple.h>

namespace tavrix::detail
{

/// The nodes along each axis of a grid that covers the box: ceil(extent / separation) cells, at least one.
/// None for a separation that is not above 0 and for a box that is not finite or inside out. Throws
/// std::length_error for more than 2^32 - 1 nodes on an axis.
Optional<Index3> nodesOverBox(const Box3D& box, double separation);

}  // namespace tavrix::detail
