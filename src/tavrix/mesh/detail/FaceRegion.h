#pragma once

#include <span>

#include <tavrix/mesh/Mesh.h>

namespace tavrix::detail
{

/// Some faces of a mesh, in their order, and the vertices that they name, numbered anew in theirs.
struct FaceRegion
{
    Array<Index3> faces;
    Array<uint32> faceNumbers, vertexNumbers;  ///< in the mesh, ascending
    Array<uint8> isWhole;                      ///< a vertex of which all faces are here
};

FaceRegion wholeMesh(const Mesh& mesh);

/// All faces at the vertices, which come in any order. The same for every thread count; one pass over the
/// mesh's faces.
FaceRegion regionAround(const Mesh& mesh, std::span<const uint32> vertices, uint32 threadCount);

}  // namespace tavrix::detail
