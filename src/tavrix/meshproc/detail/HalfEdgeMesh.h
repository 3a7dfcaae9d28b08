#pragma once

#include <vector>

#include <tavrix/foundation/Vector3.h>
#include <tavrix/meshproc/detail/CollapseMesh.h>
#include <tavrix/meshproc/detail/RefinedFaces.h>

namespace tavrix::detail
{

/// What an edge is to whoever changes the mesh.
enum class EdgeKind : uint8
{
    Smooth,
    Feature,  ///< a border, or where the surface is to keep its bend: its ends stay on such edges
    Locked    ///< where the surface is no manifold: it stays as it is, and its ends where they are
};

/// Triangles whose edges can be split, collapsed and flipped. Half-edge 3 f + c begins at corner c of face f;
/// each knows its twin. Every vertex has one fan of faces: a point with several is as many vertices, which
/// stay. At borders the half-edge that a vertex knows is the first of its fan, counter-clockwise.
class HalfEdgeMesh
{
public:
    /// Edges that are not of two faces, which run along them in opposite directions, are features where they
    /// are of one face, and locked otherwise; `isFeature` adds to these. Vertices on two features are on a
    /// curve, unless that turns by an angle of a smaller cosine than `bend`, others on features are fixed,
    /// and so are places that are not finite. Means nothing once the polling has stopped.
    HalfEdgeMesh(const Array<Vector3D>& points, const RefinedFaces& faces, const std::vector<bool>& isFeature,
                 double bend, Polling& polling);

    static uint32 next(uint32 h) { return RefinedFaces::next(h); }
    static uint32 previous(uint32 h) { return RefinedFaces::previous(h); }
    uint32 startOf(uint32 h) const { return _starts[h]; }
    uint32 endOf(uint32 h) const { return _starts[next(h)]; }
    uint32 twinOf(uint32 h) const { return _twins[h]; }
    EdgeKind kindOf(uint32 h) const { return _edgeKinds[h]; }
    uint32 halfEdgeCount() const { return _starts.size(); }
    uint32 vertexCount() const { return places.size(); }
    /// Whether it was not collapsed.
    bool isThere(uint32 h) const { return _starts[h] != noIndex; }
    bool isBorder(uint32 vertex) const
    {
        return _outs[vertex] != noIndex && _twins[_outs[vertex]] == noIndex;
    }
    /// Of edges; 0 of vertices without faces.
    uint32 valenceOf(uint32 vertex) const { return _valences[vertex]; }

    /// Visits the half-edges that begin at a vertex, counter-clockwise.
    template <class Visit>
    void forEachOut(uint32 vertex, Visit visit) const
    {
        uint32 h = _outs[vertex];
        if (h == noIndex) return;
        do {
            visit(h);
            h = _twins[previous(h)];
        } while (h != noIndex && h != _outs[vertex]);
    }
    /// Visits the neighbours of a vertex, each with the kind of the edge to it.
    template <class Visit>
    void forEachNeighbour(uint32 vertex, Visit visit) const
    {
        uint32 last = noIndex;
        forEachOut(vertex,
                   [&](uint32 h)
                   {
                       visit(endOf(h), _edgeKinds[h]);
                       last = previous(h);
                   });
        if (last != noIndex && _twins[last] == noIndex) visit(_starts[last], _edgeKinds[last]);
    }

    /// Makes a vertex on an edge, which must not be locked, and of each of its faces two.
    void split(uint32 h, const Vector3D& place);
    /// Whether the start of a half-edge can go, so that the mesh stays the manifold that it is and features
    /// stay what they are.
    bool canCollapse(uint32 h);
    /// Joins the start of a half-edge to its end, which moves to the place.
    void collapse(uint32 h, const Vector3D& place);
    /// Whether an edge may join the other two corners of its faces instead, which no edge does yet.
    bool canFlip(uint32 h) const;
    void flip(uint32 h);

    Array<Vector3D> places;  ///< of the vertices
    Array<PointKind> kinds;  ///< likewise
    Array<uint32> sources;   ///< the points that they were; noIndex of those made since

private:
    void makeVertices(const Array<Vector3D>& points, const RefinedFaces& faces, Polling& polling);
    void findKinds(double bend, Polling& polling);
    void pair(uint32 g, uint32 h);
    void copy(uint32 slot, uint32 start, uint32 twin, EdgeKind kind);
    void cutCorner(uint32 h, uint32 middle, uint32 half);
    void closeGap(uint32 h);
    void begin(uint32 vertex, uint32 h);
    uint32 addFace(uint32 a, uint32 b, uint32 c);

    Array<uint32> _starts, _twins;
    Array<EdgeKind> _edgeKinds;
    Array<uint32> _outs, _valences;
    Array<uint32> _marks;  ///< of vertices, by the last look at their neighbourhood
    uint32 _mark = 0;
};

}  // namespace tavrix::detail
