#pragma once

#include <tavrix/mesh/Mesh.h>

namespace tavrix
{

/// How the faces of a mesh hang together. Faces that name a position twice have no edges and are not counted.
struct MeshTopology
{
    uint32 positionCount;           ///< positions that a counted face uses
    uint32 edgeCount;               ///< different undirected edges
    uint32 faceCount;               ///< counted faces
    uint32 boundaryEdgeCount;       ///< edges of one face
    uint32 nonManifoldEdgeCount;    ///< edges of three and more faces
    uint32 inconsistentEdgeCount;   ///< edges of several faces that do not run along it equally often in both
                                    ///< directions
    uint32 nonManifoldVertexCount;  ///< positions whose counted faces do not form one fan, one the neighbour
                                    ///< of the next across an edge of two
    /// Sheets that touch at positions: how often used positions coincide that no edge of length 0 joins.
    uint32 selfContactCount;
    uint32 collapsedFaceCount;  ///< faces that name a position twice
    uint32 flatFaceCount;       ///< counted faces without area: corners on a line, or not finite
    uint32 nonFiniteCount;      ///< positions that are not finite, used or not

    /// There are faces with an area, and no edge has one face only.
    bool isClosed() const { return boundaryEdgeCount == 0 && flatFaceCount < faceCount; }
    /// Every edge is of one face or two, and the faces around every position form one fan.
    bool isManifold() const { return nonManifoldEdgeCount == 0 && nonManifoldVertexCount == 0; }
    /// Where several faces share an edge, they run along it equally often in both directions.
    bool isConsistentlyOriented() const { return inconsistentEdgeCount == 0; }
    /// Positions - edges + faces: 2 for a sphere, 0 for a torus, their sum for several parts.
    int64 eulerCharacteristic() const { return int64{positionCount} - edgeCount + faceCount; }
};

/// Counts edges, borders and the like of a mesh; nothing when the callback stopped it. O(faces + positions).
/// The indices must be valid.
TX_GEOMETRY_API MeshTopology computeTopology(const Mesh& mesh, CancelCallback callback = nullptr);

/// The same but for vertices of several fans and self-contacts, which it leaves at 0: in a third of the time.
TX_GEOMETRY_API MeshTopology computeEdgeTopology(const Mesh& mesh, CancelCallback callback = nullptr);

/// The number of parts of the mesh that share no position; positions without a face are none. O(positions +
/// faces). The indices must be valid.
TX_GEOMETRY_API uint32 countParts(const Mesh& mesh);

/// True when every face names positions and, unless the mesh has no normals or no normal triples at all,
/// normals that exist. A mesh whose normals are still to be calculated has none, whatever its triples say.
TX_GEOMETRY_API bool hasValidIndices(const Mesh& mesh);

/// The smallest box around the faces whose corners exist and are finite; Box3D::empty() without any.
/// Positions that no such face uses do not count.
TX_GEOMETRY_API Box3D boxOfFaces(const Mesh& mesh);

/// The sum of the face areas.
TX_GEOMETRY_API double surfaceArea(const Mesh& mesh);

/// The volume that the faces enclose, positive when they wind counter-clockwise seen from outside: the sum of
/// the signed tetrahedra from the first position. For a mesh with borders it is that of the mesh closed
/// towards that position.
TX_GEOMETRY_API double signedVolume(const Mesh& mesh);

}  // namespace tavrix
