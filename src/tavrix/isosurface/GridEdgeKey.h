#pragma once

#include <tavrix/foundation/Tuple.h>

namespace tavrix
{

/// A grid edge: (monoindex of its lower node, axis 0 x, 1 y, 2 z).
using GridEdgeKey = Tuple2<uint32, uint32>;

}  // namespace tavrix
