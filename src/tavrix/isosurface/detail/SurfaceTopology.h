#pragma once

#include <tavrix/foundation/Array.h>
#include <tavrix/foundation/Tuple.h>
#include <tavrix/isosurface/GridEdgeKey.h>

namespace tavrix::detail
{

/// The surface without its shape: which grid edge each vertex lies on, and which vertices each face joins.
/// Both empty when there is no surface of at least two faces, or when the work was cancelled.
struct SurfaceTopology
{
    uint64 cornerCount = 0;  ///< face corners that the cells gave, also when they made no surface
    Array<GridEdgeKey> vertices;
    Array<Index3> faces;
};

}  // namespace tavrix::detail
