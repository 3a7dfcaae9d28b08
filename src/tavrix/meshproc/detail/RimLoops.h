#pragma once

#include <vector>

#include <tavrix/foundation/Vector2.h>

namespace tavrix::detail
{

/// An edge of the rim along which a mesh was cut, with what is to be closed on its left.
struct RimEdge
{
    uint32 from, to;  ///< vertices
    uint32 source;    ///< the face of the mesh that was cut here
};

/// Where the edges of a rim run, in the plane of the cut.
struct RimPoints
{
    std::vector<Vector2D> starts, ends;  ///< of every edge; in coordinates that sideOf takes
};

/// For every edge of a rim the one that follows it around what is to be closed, noIndex where a chain of
/// edges ends. Where several loops meet at a vertex, they touch there and do not cross: an edge is followed
/// by the one beyond the wedge on its left. O(n log n).
std::vector<uint32> linkRim(const std::vector<RimEdge>& edges, const RimPoints& points);

/// Drops the edges of chains that do not close, and returns how many chains there were.
uint32 dropOpenChains(std::vector<RimEdge>& edges, const std::vector<uint32>& next);

}  // namespace tavrix::detail
