#pragma once

#include <tavrix/foundation/Array.h>
#include <tavrix/foundation/detail/Polling.h>
#include <tavrix/foundation/Tuple.h>

namespace tavrix::detail
{

/// An edge of faces, from `a` to `b` along its first half-edge.
struct FaceEdge
{
    uint32 a, b;
    uint32 first;   ///< half-edge 3 * face + edge
    uint32 second;  ///< the one that runs the other way; noIndex where the edge is not of two such faces
};

/// Faces whose corners name items (points, or the vertices of a mesh with seams), and their edges, which can
/// be divided into four each. No face names an item twice.
///
/// The child 4 f + c of face f lies at its corner c, which is its corner c as well, and 4 f + 3 between the
/// middles of the edges, that of edge c being its corner c. The middle of edge e is the item itemCount + e.
/// Edge e becomes 2 e, at `a`, and 2 e + 1, and behind these come three within each face.
class RefinedFaces
{
public:
    /// Linear. Means nothing once the polling has stopped.
    RefinedFaces(Array<Index3> faces, uint32 itemCount, Polling& polling);

    uint32 itemCount() const { return _itemCount; }
    const Array<Index3>& faces() const { return _faces; }
    const Array<FaceEdge>& edges() const { return _edges; }
    /// Of the three half-edges of every face.
    const Array<Index3>& edgeNumbers() const { return _edgeNumbers; }

    const FaceEdge& edgeOf(uint32 halfEdge) const { return _edges[edgeNumber(halfEdge)]; }
    uint32 edgeNumber(uint32 halfEdge) const { return _edgeNumbers[halfEdge / 3][halfEdge % 3]; }
    uint32 startOf(uint32 halfEdge) const { return _faces[halfEdge / 3][halfEdge % 3]; }
    uint32 endOf(uint32 halfEdge) const { return startOf(next(halfEdge)); }
    /// The corner that a half-edge's face has besides its ends.
    uint32 oppositeOf(uint32 halfEdge) const { return startOf(previous(halfEdge)); }
    static uint32 next(uint32 halfEdge) { return halfEdge % 3 == 2 ? halfEdge - 2 : halfEdge + 1; }
    static uint32 previous(uint32 halfEdge) { return halfEdge % 3 == 0 ? halfEdge + 2 : halfEdge - 1; }
    /// The half-edge that runs the other way; noIndex where the edge is not of two such faces.
    uint32 twinOf(uint32 halfEdge) const
    {
        const FaceEdge& edge = edgeOf(halfEdge);
        return edge.second == noIndex ? noIndex : edge.first == halfEdge ? edge.second : edge.first;
    }
    /// The half-edge from the same start after the next face, counter-clockwise; noIndex at an edge that is
    /// not of two such faces.
    uint32 turned(uint32 halfEdge) const { return twinOf(previous(halfEdge)); }

    /// The child's half-edge at the start of a half-edge.
    static uint32 firstHalf(uint32 halfEdge) { return childCorner(halfEdge); }
    /// The child's half-edge at the end of a half-edge.
    static uint32 secondHalf(uint32 halfEdge) { return previous(childCorner(next(halfEdge))); }

    /// Divides every face into four; false when stopped, and then it means nothing.
    bool refine(uint32 threadCount, Polling& polling);

private:
    /// The corner in the child at a corner 3 f + c.
    static uint32 childCorner(uint32 corner) { return 3 * (4 * (corner / 3) + corner % 3) + corner % 3; }

    uint32 _itemCount;
    Array<Index3> _faces, _edgeNumbers;
    Array<FaceEdge> _edges;
};

}  // namespace tavrix::detail
