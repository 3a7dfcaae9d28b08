#pragma once

#include <tavrix/fields/GridDescription3.h>
#include <tavrix/foundation/Array.h>
#include <tavrix/mesh/Mesh.h>

namespace tavrix
{

/// Nodes of a row along z.
struct VoxelSpan
{
    /// The first one, and the one after the last.
    /// @{
    uint32 begin, end;
    /// @}
    /// The same nodes.
    friend bool operator==(const VoxelSpan&, const VoxelSpan&) = default;
};

/// The nodes of a grid that are inside a mesh, as runs along z: what a mesh of many voxels is kept as.
struct MeshVoxels
{
    GridDescription3<double> grid;  ///< where the nodes are
    Array<uint32> rows;      ///< where the spans of row (i, j), number i * sizeY + j, begin; all at the end
    Array<VoxelSpan> spans;  ///< of all rows; ascending in each, and apart

    /// How many nodes are inside.
    TX_GEOMETRY_API uint64 count() const;
    /// One byte a node, in monoindex order: 1 inside.
    TX_GEOMETRY_API void fill(Array<uint8>& nodes) const;
};

/// Finds the nodes of a grid inside a mesh: around which the faces wind, the mean over six rays along the
/// axes being above 1/2 (overlapping parts are inside, cavities are not, small holes do not matter). Exact
/// for closed meshes on every grid; a node on a face may go either way. Faces that all look inwards enclose
/// the same. `voxels` is replaced. O(faces + nodes), with some six bytes a node meanwhile; the same for every
/// thread count. False when the callback stopped it; there are no spans then.
TX_GEOMETRY_API bool voxelize(const Mesh& mesh, const GridDescription3<double>& grid, MeshVoxels& voxels,
                              uint32 threadCount = 1, CancelCallback callback = nullptr);

}  // namespace tavrix
