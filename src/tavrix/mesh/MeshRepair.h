#pragma once

#include <tavrix/foundation/ArrayOfPtr.h>
#include <tavrix/mesh/Mesh.h>

namespace tavrix
{

// Repairs of meshes as files bring them. Indices must be valid (hasValidIndices).

/// Makes all faces name, of several positions with the same coordinates, the first one; the positions stay,
/// and so do the normals. Returns how many positions equal an earlier one. O(n log n).
TX_GEOMETRY_API uint32 joinEqualPositions(Mesh& mesh);

/// Turns all faces, and the normals' triples with them, around.
TX_GEOMETRY_API void turnFaces(Mesh& mesh);

/// Leaves the mesh without normals.
TX_GEOMETRY_API void dropNormals(Mesh& mesh);

/// Drops the normals and the faces that have a corner without finite coordinates, and moves the positions
/// without such to the first face's corner. Returns how many faces those were.
TX_GEOMETRY_API uint32 dropInfiniteFaces(Mesh& mesh);

/// Turns faces so that neighbours across an edge wind alike, in those parts of the mesh where some do not; a
/// part that was turned faces outwards, by its volume. Parts hang together by edges of exactly two faces,
/// which name the same positions. Returns how many faces were turned. Normals are dropped then. O(n log n).
TX_GEOMETRY_API uint32 orientMixedParts(Mesh& mesh);

/// All meshes in one, named as the first. Normals when all have them.
TX_GEOMETRY_API Mesh joinMeshes(const ArrayOfPtr<Mesh>& meshes);

}  // namespace tavrix
