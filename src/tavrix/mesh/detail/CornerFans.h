#pragma once

#include <tavrix/foundation/detail/UnionFind.h>
#include <tavrix/mesh/IndexFacedge.h>

namespace tavrix::detail
{

/// The corner that follows in its face: the end of a half-edge, when the corner is its start.
constexpr uint32 nextCorner(uint32 corner) { return corner % 3 == 2 ? corner - 2 : corner + 1; }

/// Corner 3 * face + c of the faces.
inline uint32 vertexAt(const Array<Index3>& faces, uint32 corner) { return faces[corner / 3][corner % 3]; }

/// Which corners at a position belong to one fan: faces around it, each the neighbour of the next across an
/// edge. Of a manifold every position has one. Linear, but for the logarithm of the disjoint sets.
class CornerFans
{
public:
    /// Every corner is a fan.
    explicit CornerFans(uint32 faceCount) : _sets(3 * faceCount) {}
    /// Neighbours as facedgeNeighbours gives them, or some other choice. Means nothing once the polling has
    /// stopped.
    CornerFans(const Array<Index3>& faces, const Array<FacedgeTriple>& neighbours, Polling& polling)
        : _sets(3 * faces.size(), polling)
    {
        for (const uint32 h : PolledNumbers(3 * faces.size(), scatteredItems, polling))
        {
            const IndexFacedge other = neighbours[h / 3][h % 3];
            if (other.isNone()) continue;
            const uint32 start = 3 * other.face() + other.edge();
            if (start > h) continue;
            const bool runsAlike = vertexAt(faces, start) == vertexAt(faces, h);
            _sets.unite(h, runsAlike ? start : nextCorner(start));
            _sets.unite(nextCorner(h), runsAlike ? nextCorner(start) : start);
        }
    }

    /// The fan's first corner.
    uint32 fanOf(uint32 corner) { return _sets.find(corner); }

private:
    UnionFind _sets;
};

}  // namespace tavrix::detail
