#pragma once

#include <tavrix/foundation/Array.h>
#include <tavrix/foundation/BlockDesc.h>
#include <tavrix/foundation/detail/Polling.h>
#include <tavrix/mesh/IndexFacedge.h>

namespace tavrix::detail
{

/// The undirected edges of a set of faces, numbered in the order in which the faces first use them.
///
/// Half-edge h = 3 * face + edge runs from corner `edge` to the next one. Faces that name a position twice
/// have no edges. Built in linear time by a counting sort over the lower end of each edge; only the edges
/// around one position are compared with one another. The result depends on the faces alone.
struct EdgeTable
{
    Array<uint32> edgeOfHalfEdge;  ///< three a face; noIndex on faces without edges
    uint32 edgeCount = 0;

    /// Means nothing once the polling has stopped.
    EdgeTable(const Array<Index3>& faces, uint32 positionCount, Polling& polling);
    EdgeTable(const Array<Index3>& faces, uint32 positionCount);

    /// The first half-edge of every edge.
    Array<uint32> firstHalfEdges() const;
    /// Number of half-edges of every edge.
    Array<uint32> useCounts() const;
};

inline IndexFacedge facedgeOfHalfEdge(uint32 h) { return IndexFacedge::of(h / 3, h % 3); }

/// The face-edge on the other side of each edge of each face. An edge has another side when exactly two faces
/// use it, whichever way they run along it; border edges and edges of three and more faces hold none, so that
/// a walk over the surface ends there and never has to choose a sheet.
/// What it returns means nothing once the polling has stopped.
Array<FacedgeTriple> facedgeNeighbours(const EdgeTable& edges, uint32 faceCount, Polling& polling);
Array<FacedgeTriple> facedgeNeighbours(const EdgeTable& edges, uint32 faceCount);

}  // namespace tavrix::detail
