#pragma once

#include <tavrix/meshproc/detail/VertexArrays.h>

namespace tavrix::detail
{

/// What an operation makes of a mesh, besides the arrays that follow its vertices and faces.
struct NewMesh
{
    Array<Vector3D> positions;
    Array<Index3> faces;
    Array<Vector3F> normals;
    Array<Index3> normalTriples;
};

/// Gives the mesh what was made of it. Face normals and smoothed normals, where there are some, are made
/// anew, and connectivity is released.
void handOver(Mesh& mesh, NewMesh& made, VertexArrays& arrays);

}  // namespace tavrix::detail
