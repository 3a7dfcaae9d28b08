#pragma once

#include <tavrix/foundation/ArrayOfPtr.h>
#include <tavrix/mesh/Mesh.h>

namespace tavrix::tool
{

/// Takes out the faces that name positions which the mesh does not have, and returns how many there were.
/// Triples of normals that do not exist go too, with the normals.
uint32 dropInvalidFaces(Mesh& mesh);

/// Makes all faces name, of several positions with the same coordinates, the first one; the positions stay.
/// For the triangles of formats without shared vertices.
void joinEqualPositions(Mesh& mesh);

/// Gives a mesh without normals smooth ones, with an edge kept where faces meet at more than 40 degrees.
void confirmSmoothNormals(Mesh& mesh);

/// All meshes in one, named as the first; their faces must be valid. Normals when all have them.
Mesh joined(const ArrayOfPtr<Mesh>& meshes);

}  // namespace tavrix::tool
