#pragma once

#include <tavrix/mesh/Mesh.h>

namespace tavrix::detail
{

/// The positions and faces of a mesh as plain arrays, and which of its faces can be worked with.
struct MeshFaces
{
    const Vector3D* positions;
    uint32 positionCount;
    const Index3* faces;
    uint32 faceCount;

    explicit MeshFaces(const Mesh& mesh) : MeshFaces(mesh.pos(), mesh.trindexPos()) {}
    MeshFaces(const Array<Vector3D>& pos, const Array<Index3>& triangles)
        : positions(pos.data()),
          positionCount(pos.size()),
          faces(triangles.data()),
          faceCount(triangles.size())
    {
    }

    const Vector3D& corner(uint32 face, uint32 c) const { return positions[faces[face][c]]; }

    /// Whether the face exists and its three corners exist and are finite.
    bool isUsable(uint32 face) const
    {
        if (face >= faceCount) return false;
        const Index3& t = faces[face];
        return t.a < positionCount && t.b < positionCount && t.c < positionCount &&
               isFinite(positions[t.a]) && isFinite(positions[t.b]) && isFinite(positions[t.c]);
    }

    /// The smallest box around a face; that of no points when it is not usable.
    Box3D box(uint32 face) const
    {
        Box3D box = Box3D::empty();
        if (!isUsable(face)) return box;
        for (uint32 c = 0; c < 3; ++c) box.extend(corner(face, c));
        return box;
    }
};

}  // namespace tavrix::detail
