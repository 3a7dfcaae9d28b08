#pragma once

#include <vector>

#include <tavrix/meshproc/detail/CollapseMesh.h>

namespace tavrix::detail
{

/// How far at most the faces around two points lie from those around the place where the points meet, both
/// ways; infinite where the two patches do not lie over each other as seen along their mean normal.
///
/// Both are heights over one plane whose difference is largest at a corner of one or where edges of both
/// cross (Bajaj and Schikore, Error-bounded Reduction of Triangle Meshes with Multivariate Data, 1996). Where
/// a border moves, the stretch between its courses is added.
double patchDeviation(const CollapseMesh& mesh, uint32 a, uint32 b, const Star& starOfA, const Star& starOfB,
                      const Vector3D& place);

}  // namespace tavrix::detail
