#pragma once

#include <vector>

#include <tavrix/foundation/Array.h>
#include <tavrix/meshproc/detail/CollapseMesh.h>

namespace tavrix::detail
{

/// How far the surface lies from the one of the beginning when an edge is collapsed: for each face that is
/// left of the two stars, of the first one first, the distance at most, both ways, where `errors` are those
/// of the faces so far. False when the faces before and after do not lie over each other as seen along their
/// mean normal.
///
/// Both are heights over one plane whose difference is largest at a corner of one or where edges of both
/// cross; what a face lies over adds its error (Bajaj and Schikore, Error-bounded Reduction of Triangle
/// Meshes with Multivariate Data, 1996). Where a border moves, the stretch between its courses is added.
bool findPatchErrors(const CollapseMesh& mesh, uint32 a, uint32 b, const Star& starOfA, const Star& starOfB,
                     const Vector3D& place, const Array<float>& errors, std::vector<float>& errorsAfter);

}  // namespace tavrix::detail
