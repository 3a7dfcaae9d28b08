#pragma once

#include <tavrix/foundation/ArrayOfPtr.h>
#include <tavrix/foundation/CancelCallback.h>
#include <tavrix/mesh/Mesh.h>

namespace tavrix
{

/// @name Repairs
/// For meshes as files bring them. Indices must be valid (hasValidIndices). What a callback stops leaves the
/// mesh as it was, and returns 0.
/// @{

/// Merges vertices with equal coordinates: faces then refer to the first of them. Positions and normals stay.
/// Returns how many positions equal an earlier one. O(n).
TX_GEOMETRY_API uint32 joinEqualPositions(Mesh& mesh, CancelCallback callback = nullptr);

/// Reverses the orientation of all faces, and of their normals' triples.
TX_GEOMETRY_API void turnFaces(Mesh& mesh);

/// Removes the normals.
TX_GEOMETRY_API void dropNormals(Mesh& mesh);

/// Removes the normals and all faces with a corner that is not finite; such positions move to the first
/// face's corner. Returns the number of faces removed.
TX_GEOMETRY_API uint32 dropInfiniteFaces(Mesh& mesh);

/// Removes the positions that no face names; the others keep their order, and arrays per position follow.
/// Normals follow when their triples are those of the positions. Returns the number of positions removed.
/// O(positions + faces).
TX_GEOMETRY_API uint32 dropUnusedPositions(Mesh& mesh);

/// Orients faces consistently in each part of the mesh where neighbours disagree, outwards by the part's
/// volume. Faces are neighbours across an edge that exactly two faces share, by position index. Returns the
/// number of faces reversed; normals are then removed. Faces that name a position twice have no neighbours.
/// O(n).
TX_GEOMETRY_API uint32 orientMixedParts(Mesh& mesh, CancelCallback callback = nullptr);

/// Concatenates meshes, under the name of the first. With normals if all have them.
TX_GEOMETRY_API Mesh joinMeshes(const ArrayOfPtr<Mesh>& meshes);
/// @}

}  // namespace tavrix
