#pragma once

#include <tavrix/foundation/ArrayOfPtr.h>
#include <tavrix/mesh/Mesh.h>

namespace tavrix::tool
{

// The indices of the meshes must be valid, as those of meshes from files are.

/// Makes all faces name, of several positions with the same coordinates, the first one; the positions stay.
/// Returns how many positions equal an earlier one. The normals stay as they are.
uint32 joinEqualPositions(Mesh& mesh);

/// Gives a mesh that lacks normals smooth ones, with an edge kept where faces meet at more than 40 degrees.
void confirmSmoothNormals(Mesh& mesh);

/// Gives a mesh whose faces share no positions such normals, after joining equal positions.
void smoothSeparateFaces(Mesh& mesh);

/// Leaves the mesh without normals.
void dropNormals(Mesh& mesh);

/// Drops the normals and the faces that have a corner without finite coordinates, and moves the positions
/// without such to the first face's corner. Returns how many faces those were.
uint32 dropInfiniteFaces(Mesh& mesh);

/// Turns faces so that neighbours across an edge wind alike, in those parts of the mesh where some do not; a
/// part that was turned faces outwards, by its volume. Parts hang together by edges of exactly two faces,
/// which name the same positions. Returns how many faces were turned. Normals are dropped then.
uint32 orientMixedParts(Mesh& mesh);

/// All meshes in one, named as the first. Normals when all have them.
Mesh joined(const ArrayOfPtr<Mesh>& meshes);

}  // namespace tavrix::tool
