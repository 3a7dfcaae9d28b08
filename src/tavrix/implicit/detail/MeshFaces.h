#pragma once

#include <tavrix/mesh/Mesh.h>

namespace tavrix::detail
{

/// The positions and faces of a mesh as plain arrays.
struct MeshFaces
{
    const Vector3D* positions;
    uint32 positionCount;
    const Index3* faces;
    uint32 faceCount;

    explicit MeshFaces(const Mesh& mesh)
        : positions(mesh.pos().data()),
          positionCount(mesh.getPosSize()),
          faces(mesh.trindexPos().data()),
          faceCount(mesh.getFacesSize())
    {
    }

    const Vector3D& corner(uint32 face, uint32 c) const { return positions[faces[face][c]]; }

    /// Whether the three corners of the face exist and are finite.
    bool isUsable(uint32 face) const
    {
        const Index3& t = faces[face];
        return t.a < positionCount && t.b < positionCount && t.c < positionCount &&
               isFinite(positions[t.a]) && isFinite(positions[t.b]) && isFinite(positions[t.c]);
    }
};

}  // namespace tavrix::detail
