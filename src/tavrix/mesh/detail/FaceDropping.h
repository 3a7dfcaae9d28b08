#pragma once

#include <vector>

#include <tavrix/mesh/Mesh.h>

namespace tavrix::detail
{

/// Removes the faces of these ascending numbers; the others keep their order, and what the mesh holds per
/// face follows.
void dropFaces(Mesh& mesh, const std::vector<uint32>& numbers);

}  // namespace tavrix::detail
