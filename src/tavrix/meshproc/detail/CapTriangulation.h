#pragma once

#include <vector>

#include <tavrix/foundation/Array.h>
#include <tavrix/foundation/detail/Polling.h>
#include <tavrix/foundation/Tuple.h>
#include <tavrix/meshproc/detail/RimLoops.h>

namespace tavrix::detail
{

/// What closes a rim.
struct CapFaces
{
    /// Each corner is where the edge of that number starts.
    Array<Index3> faces;
    uint32 loops = 0;
    /// Pieces between loops that cross: they were closed, but some of their faces are turned over.
    uint32 crossedPieces = 0;
    /// Whether all pieces were monotone, as they are unless loops touch or cross. Else faces may come
    /// together at an edge or a vertex more than once.
    bool isPlain = true;
};

/// Triangulates the areas on the left of the loops of a rim, holes and islands in them included, whatever
/// their number: a plane sweep cuts them into monotone pieces (Lee and Preparata, SIAM Journal on Computing
/// 6, 1977), each of which is triangulated in a pass. Sides are decided exactly. Every edge is an edge of one
/// face, and inner edges are of two, also where loops cross. `next` links all edges to loops. Means nothing
/// once the polling has stopped. O(n log n), and about O(n^1.5) for pieces where loops cross.
CapFaces triangulateCap(const std::vector<RimEdge>& edges, const RimPoints& points,
                        const std::vector<uint32>& next, Polling& polling);

}  // namespace tavrix::detail
