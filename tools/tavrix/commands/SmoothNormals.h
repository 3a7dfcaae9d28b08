#pragma once

#include <tavrix/mesh/Mesh.h>

namespace tavrix::tool
{

/// Gives a mesh that lacks normals smooth ones, with an edge kept where faces meet at more than 40 degrees.
void confirmSmoothNormals(Mesh& mesh);

/// Gives a mesh whose faces share no positions such normals, after joining equal positions.
void smoothSeparateFaces(Mesh& mesh);

}  // namespace tavrix::tool
