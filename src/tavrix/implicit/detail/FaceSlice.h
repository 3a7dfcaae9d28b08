#pragma once

#include <tavrix/fields/detail/LatticeNodes.h>
#include <tavrix/foundation/Vector3.h>

namespace tavrix::detail
{

// Faces cut by planes of nodes, and the cuts by rows of nodes. Every comparison is "not above" against
// "above" the very same number, and a point on an edge is computed from its lower to its upper end, whichever
// face asks. So the cuts of a closed mesh are closed polygons, bit for bit, and a row crosses them as often
// inwards as outwards, also where it meets edges and corners.

/// The points at which a face comes up through a plane and goes down again, in the plane's two axes.
struct Cut
{
    double fromB, fromC, toB, toC;
};

/// The first node of the axis whose coordinate is above the one given, but for rounding; the size if none is.
inline uint32 firstNodeAbove(const LatticeNodes& lattice, uint32 axis, double coordinate)
{
    const double steps = (coordinate - lattice.nodes[axis][0]) * lattice.reciprocal[axis] + 1;
    return steps > 0 ? (steps < lattice.size[axis] ? static_cast<uint32>(steps) : lattice.size[axis]) : 0;
}

/// Nodes of the axis between two coordinates, half open, with one to spare on either side.
struct NodesBetween
{
    uint32 low, high;

    NodesBetween(const LatticeNodes& lattice, uint32 axis, double a, double b)
        : low(firstNodeAbove(lattice, axis, a < b ? a : b)),
          high(firstNodeAbove(lattice, axis, a < b ? b : a))
    {
        low -= low > 0;
        high += high < lattice.size[axis];
    }
};

/// Where the plane `axis` = level meets the face with the corners given; false when it does not. The cut has
/// the axes (axis + 1) % 3 and (axis + 2) % 3, and the side that the face's normal looks to on its left.
inline bool cutFace(const Vector3D* const (&corners)[3], uint32 axis, double level, Cut& cut)
{
    const uint32 b = (axis + 1) % 3, c = (axis + 2) % 3;
    const bool above[3] = {(*corners[0])[axis] > level, (*corners[1])[axis] > level,
                           (*corners[2])[axis] > level};
    if (above[0] == above[1] && above[1] == above[2]) return false;
    for (uint32 e = 0; e < 3; ++e)
    {
        const uint32 next = e == 2 ? 0 : e + 1;
        if (above[e] == above[next]) continue;
        const Vector3D& low = *corners[above[e] ? next : e];
        const Vector3D& high = *corners[above[e] ? e : next];
        const double t = (level - low[axis]) / (high[axis] - low[axis]);
        (above[e] ? cut.toB : cut.fromB) = low[b] + t * (high[b] - low[b]);
        (above[e] ? cut.toC : cut.fromC) = low[c] + t * (high[c] - low[c]);
    }
    return true;
}

/// Whether a row at `level` crosses from one coordinate to the other, and where along it: between
/// the coordinates `a` and `b` there.
inline bool crossRow(double level, double from, double to, double a, double b, double& at)
{
    if ((from > level) == (to > level)) return false;
    at = a + (level - from) / (to - from) * (b - a);
    return true;
}

}  // namespace tavrix::detail
