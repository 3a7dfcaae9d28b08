#pragma once

#include <tavrix/mesh/detail/VertexNormals.h>

namespace tavrix::detail
{

/// Gives every zero vertex normal of the arrays a unit direction that lies down in the surface: the sum of
/// the directions from the middle of the opposite edge to the corner, over the corners that use the normal
/// (the way outwards at a fold, where two faces cancel each other). Where that vanishes too: the normal of
/// the first face of some area around it, else (0, 0, 1). Other normals stay. The same bytes for every
/// thread count; false when the polling stopped it, with some of them still zero.
bool fillLieDownNormals(const NormalArrays& arrays, uint32 threadCount, Polling& polling);

}  // namespace tavrix::detail
