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
/// changes neither sizes nor separations. A grid of no nodes has the box at the origin.
template <class Coord>
struct GridDescription3
{
    uint32 sizeX, sizeY, sizeZ;
    uint32 sizeYZ;
    uint32 size;
    Box3<Coord> box;
    Vector3<Coord> separation;
    Vector3<Coord> reciprocalSeparation;
    Coord largestSeparation;

    /// The grid of these sizes, centred on the origin. Throws std::length_error when the node count passes
    /// 2^32 - 1.
    static GridDescription3 centered(uint32 sizeX, uint32 sizeY, uint32 sizeZ,
                                     const Vector3<Coord>& separation)
    {
        const uint32 size = nodeCount(sizeX, sizeY, sizeZ);
        if (size == 0) return GridDescription3{};
        const Vector3<Coord> half{halfExtent(sizeX, separation.x), halfExtent(sizeY, separation.y),
                                  halfExtent(sizeZ, separation.z)};
        return {sizeX,
                sizeY,
                sizeZ,
                sizeY * sizeZ,
                size,
                {-half, half},
                separation,
                {1 / separation.x, 1 / separation.y, 1 / separation.z},
                std::max({separation.x, separation.y, separation.z})};
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

    uint32 sizeAlong(uint32 axis) const { return axis == 0 ? sizeX : axis == 1 ? sizeY : sizeZ; }

    uint32 getMonoindex(uint32 i, uint32 j, uint32 k) const { return i * sizeYZ + j * sizeZ + k; }

    Index3 getIndexes(uint32 monoindex) const
    {
        const uint32 i = monoindex / sizeYZ;
        const uint32 rest = monoindex - i * sizeYZ;
        const uint32 j = rest / sizeZ;
        return {i, j, rest - j * sizeZ};
    }

    Coord getCoordinate(uint32 axis, uint32 index) const
    {
        return box.min[axis] + static_cast<Coord>(index) * separation[axis];
    }

    Vector3<Coord> getPoint(uint32 i, uint32 j, uint32 k) const
    {
        return {getCoordinate(0, i), getCoordinate(1, j), getCoordinate(2, k)};
    }

    /// Moves the box so that its centre is the point.
    void moveTo(const Vector3<Coord>& point)
    {
        if (size == 0)
        {
            box = {point, point};
            return;
        }
        const Vector3<Coord> half{halfExtent(sizeX, separation.x), halfExtent(sizeY, separation.y),
                                  halfExtent(sizeZ, separation.z)};
        box = {point - half, point + half};
    }

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
    static Coord halfExtent(uint32 size, Coord separation)
    {
        return static_cast<Coord>(size - 1) * separation / Coord(2);
    }
};

}  // namespace tavrix
