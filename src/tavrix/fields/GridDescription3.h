#pragma once

#include <algorithm>
#include <stdexcept>

#include <tavrix/foundation/Box3.h>
#include <tavrix/foundation/Tuple.h>
#include <tavrix/foundation/Vector3.h>

namespace tavrix
{

/// Where the nodes of a regular grid lie and how they are numbered.
///
/// Node (i, j, k) lies at box.min + (i dx, j dy, k dz); box.max is the last node. Its monoindex is
/// i sizeY sizeZ + j sizeZ + k, so z varies fastest. A fresh grid is centred on the origin; translating it
/// changes neither sizes nor separations. box.max is the last node's position as getPoint rounds it, so every
/// node lies in the closed box.
template <class Coord>
struct GridDescription3
{
    /// Nodes along each axis.
    /// @{
    uint32 sizeX, sizeY, sizeZ;
    /// @}
    /// sizeY sizeZ, and the number of all nodes.
    /// @{
    uint32 sizeYZ;
    uint32 size;
    /// @}
    /// From the first node to the last.
    Box3<Coord> box;
    /// The distances of neighbouring nodes along the axes, one over each, and the largest of them.
    /// @{
    Vector3<Coord> separation;
    Vector3<Coord> reciprocalSeparation;
    Coord largestSeparation;
    /// @}

    /// The grid of these sizes, centred on the origin. One size may be 0: the others are kept. Throws
    /// std::length_error when the node count passes 2^32 - 1.
    static GridDescription3 centered(uint32 sizeX, uint32 sizeY, uint32 sizeZ,
                                     const Vector3<Coord>& separation)
    {
        const uint32 size = nodeCount(sizeX, sizeY, sizeZ);
        GridDescription3 grid{sizeX,
                              sizeY,
                              sizeZ,
                              sizeY * sizeZ,
                              size,
                              {},
                              separation,
                              {1 / separation.x, 1 / separation.y, 1 / separation.z},
                              std::max({separation.x, separation.y, separation.z})};
        grid.setOrigin(-grid.halfExtent());
        return grid;
    }

    /// sizeX sizeY sizeZ; std::length_error when it passes 2^32 - 1.
    static uint32 nodeCount(uint32 sizeX, uint32 sizeY, uint32 sizeZ)
    {
        if (sizeX == 0 || sizeY == 0 || sizeZ == 0) return 0;
        const uint64 plane = uint64{sizeY} * sizeZ;
        if (plane > noIndex || plane * sizeX / sizeX != plane || plane * sizeX > noIndex)
            throw std::length_error("tavrix: a grid of more than 2^32 - 1 nodes");
        return static_cast<uint32>(plane * sizeX);
    }

    /// The nodes along axis 0, 1 or 2.
    uint32 sizeAlong(uint32 axis) const { return axis == 0 ? sizeX : axis == 1 ? sizeY : sizeZ; }

    /// The number of a node; the indices are not checked.
    uint32 getMonoindex(uint32 i, uint32 j, uint32 k) const { return i * sizeYZ + j * sizeZ + k; }

    /// The node of a number; a grid without nodes has none to ask for.
    Index3 getIndexes(uint32 monoindex) const
    {
        const uint32 i = monoindex / sizeYZ;
        const uint32 rest = monoindex - i * sizeYZ;
        const uint32 j = rest / sizeZ;
        return {i, j, rest - j * sizeZ};
    }

    /// Where nodes of that index lie along the axis, as it is rounded everywhere.
    Coord getCoordinate(uint32 axis, uint32 index) const
    {
        return box.min[axis] + static_cast<Coord>(index) * separation[axis];
    }

    /// Where a node lies.
    Vector3<Coord> getPoint(uint32 i, uint32 j, uint32 k) const
    {
        return {getCoordinate(0, i), getCoordinate(1, j), getCoordinate(2, k)};
    }

    /// The indices (p - min) / separation of a point, truncated, unchecked.
    Index3 getTruncated(const Vector3<Coord>& point) const
    {
        const Vector3<Coord> d = point - box.min;
        return {static_cast<uint32>(d.x * reciprocalSeparation.x),
                static_cast<uint32>(d.y * reciprocalSeparation.y),
                static_cast<uint32>(d.z * reciprocalSeparation.z)};
    }

    /// Puts the first node at a point and the box around all nodes. An axis of no nodes has no extent.
    void setOrigin(const Vector3<Coord>& point)
    {
        box.min = point;
        for (uint32 axis = 0; axis < 3; ++axis)
            box.max[axis] = getCoordinate(axis, std::max(sizeAlong(axis), 1u) - 1);
    }

    /// Whether the point lies in the closed box. The last nodes do, also where a box that was read from a
    /// file ends a rounding error before them. False without nodes.
    bool contains(const Vector3<Coord>& point) const
    {
        if (size == 0) return false;
        for (uint32 axis = 0; axis < 3; ++axis)
        {
            const Coord p = point[axis];
            const bool isBelowEnd = p <= box.max[axis] || p <= getCoordinate(axis, sizeAlong(axis) - 1);
            if (!(box.min[axis] <= p && isBelowEnd)) return false;
        }
        return true;
    }

    /// Moves the box so that its centre is the point.
    void moveTo(const Vector3<Coord>& point) { setOrigin(point - halfExtent()); }

    /// The lower node of the cell that holds the point, noCell when a coordinate lies below the box, is not a
    /// number or gives an index past the last node. The index truncated from (p - min) / separation is
    /// corrected downwards when rounding put its node above the point.
    Index3 getCell(const Vector3<Coord>& point) const
    {
        Index3 cell;
        for (uint32 axis = 0; axis < 3; ++axis)
        {
            const Coord steps = (point[axis] - box.min[axis]) * reciprocalSeparation[axis];
            if (!(steps >= 0 && steps < static_cast<Coord>(noIndex))) return noCell;
            auto index = static_cast<uint32>(steps);
            if (index > 0 && getCoordinate(axis, index) > point[axis]) --index;
            if (index >= sizeAlong(axis)) return noCell;
            cell[axis] = index;
        }
        return cell;
    }

private:
    Vector3<Coord> halfExtent() const
    {
        Vector3<Coord> half;
        for (uint32 axis = 0; axis < 3; ++axis)
            half[axis] = static_cast<Coord>(std::max(sizeAlong(axis), 1u) - 1) * separation[axis] / Coord(2);
        return half;
    }
};

}  // namespace tavrix
