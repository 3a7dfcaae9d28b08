#pragma once

#include <vector>

#include <tavrix/foundation/RankGroup.h>
#include <tavrix/mesh/Mesh.h>

namespace tavrix
{

/// Elements in a row.
struct MeshRun
{
    uint32 first;   ///< where they are in a rank's part of a mesh
    uint32 count;   ///< how many
    uint32 number;  ///< that the first has in the whole mesh
};

/// The part of a mesh that one of many ranks has. Every vertex and every face belongs to one rank; the runs
/// say which here. The others here are copies: the corners that own faces have on other ranks, and the faces
/// around own vertices. Numbers of vertices and faces are those of the mesh that one process would have.
struct RankMesh
{
    Mesh mesh;              ///< what is here, copies included
    Array<uint32> numbers;  ///< of the vertices in the whole mesh, ascending
    /// Own vertices and faces, ascending.
    /// @{
    std::vector<MeshRun> vertexRuns, faceRuns;
    /// @}
    /// How many the whole mesh has.
    /// @{
    uint32 vertexCount = 0, faceCount = 0;
    /// @}
};

/// Brings the parts together at the first rank, as one process would have the mesh: positions, faces, the
/// normals of vertices, and extra arrays of float and Vector3F for each position; the others get an empty
/// mesh. All parts have the same arrays. Collective; the first rank takes what the mesh takes.
TX_GEOMETRY_API Mesh gatherMesh(RankGroup& ranks, RankMesh part);

}  // namespace tavrix
