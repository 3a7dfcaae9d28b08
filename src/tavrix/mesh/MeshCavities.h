#pragma once

#include <tavrix/mesh/Mesh.h>

namespace tavrix
{

/// How many parts a mesh has, and how many of these are cavities.
struct PartCounts
{
    uint32 parts;     ///< those that are cavities, too
    uint32 cavities;  ///< see countPartsAndCavities
};

/// Counts the parts of a mesh, which share no position, and among them the cavities: closed parts of
/// consistent orientation whose faces look inwards (their signed volume is below 0) and that lie within the
/// solid of the other parts, which wind around them. Exact where surfaces do not cross, by how lines along x
/// cut the faces. A mesh that is inside out has no cavities, but those of its hollows that are parts inside
/// of other parts. O(positions + faces), and where a part looks inwards a few times as much. The indices must
/// be valid. None when the callback stopped it.
TX_GEOMETRY_API PartCounts countPartsAndCavities(const Mesh& mesh, CancelCallback callback = nullptr);

/// Fills the cavities: removes them, and every part that floats within one, a drop in a bubble, say. Faces
/// and positions that stay keep their order, and what the mesh holds for them follows; normals follow when
/// their triples are those of the positions. Returns the parts that are left and the cavities that were
/// filled. The cost of counting; some 45 bytes a face where a part looks inwards. Stopped by the callback, it
/// leaves the mesh as it was.
TX_GEOMETRY_API PartCounts fillCavities(Mesh& mesh, CancelCallback callback = nullptr);

}  // namespace tavrix
