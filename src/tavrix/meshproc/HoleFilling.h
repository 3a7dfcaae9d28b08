#pragma once

#include <tavrix/foundation/CancelCallback.h>
#include <tavrix/platform/Export.h>
#include <tavrix/platform/Types.h>

namespace tavrix
{

class Mesh;

/// What fillHoles did.
struct HoleFillingReport
{
    bool isStopped = false;     ///< by the callback
    uint32 holesFilled = 0;     ///< closed by faces
    uint32 holesLeft = 0;       ///< of more edges than were to be filled, or that cannot be filled
    uint32 facesAdded = 0;      ///< in all
    uint32 edgesOfLongest = 0;  ///< of those left
};

/// Closes the holes of a mesh whose borders have at most so many edges, each by the triangles over its
/// vertices that bend least: the sharpest angle between two faces, those around the hole included, is as
/// small as can be, and then the area (Barequet and Sharir, Filling Gaps in the Boundary of a Polyhedron,
/// 1995, with the weights of Liepa, Filling Holes in Meshes, SGP 2003). No edge gets a third face: holes that
/// would need one are left, and so are those along edges of three and more faces. The seams of textures are
/// no holes. Islands in a hole are closed by themselves, and the outer border of a sheet is a hole as well.
///
/// No vertex is added, and the new faces come behind the others; their corners have the normals of those
/// beside them, and values per face are those of a neighbour. Face normals and smoothed normals, where there
/// are some, are made anew. Stopped, the mesh stays as it was. Indices must be valid. Linear, but for the
/// cube of a hole's edges: some milliseconds for 100, a second for 1000, and 20 bytes for each pair of them.
TX_GEOMETRY_API HoleFillingReport fillHoles(Mesh& mesh, uint32 mostEdges = 300,
                                            CancelCallback callback = nullptr);

}  // namespace tavrix
