#pragma once

#include <algorithm>
#include <stdexcept>

#include <tavrix/foundation/Box2.h>
#include <tavrix/foundation/Tuple.h>

namespace tavrix
{

/// Where the nodes of a regular grid in the plane lie and how they are numbered, as GridDescription3 does in
/// space: node (i, j) lies at origin + (i, j) separation, and its monoindex is i sizeY + j.
struct GridDescription2
{
    /// Nodes along each axis.
    /// @{
    uint32 sizeX, sizeY;
    /// @}
    Vector2D origin;    ///< the first node
    double separation;  ///< of neighbouring nodes, along both axes

    /// The grid of these sizes, centred on the origin. Throws std::length_error when the node count passes
    /// 2^32 - 1.
    static GridDescription2 centered(uint32 sizeX, uint32 sizeY, double separation)
    {
        if (uint64{sizeX} * sizeY > noIndex)
            throw std::length_error("tavrix: a grid of more than 2^32 - 1 nodes");
        const auto half = [&](uint32 size) { return (std::max(size, 1u) - 1) * separation / 2; };
        return {sizeX, sizeY, {-half(sizeX), -half(sizeY)}, separation};
    }

    /// The number of all nodes.
    uint32 size() const { return sizeX * sizeY; }
    /// The number of a node; the indices are not checked.
    uint32 getMonoindex(uint32 i, uint32 j) const { return i * sizeY + j; }
    /// Where a node lies.
    Vector2D getPoint(uint32 i, uint32 j) const
    {
        return {origin.x + i * separation, origin.y + j * separation};
    }
    /// From the first node to the last.
    Box2D getBox() const { return {origin, getPoint(std::max(sizeX, 1u) - 1, std::max(sizeY, 1u) - 1)}; }
    /// Whether the point lies in the closed box; false without nodes.
    bool contains(const Vector2D& point) const { return size() > 0 && getBox().contains(point); }

    /// Between which nodes a point lies: those from (i, j) to (iHigh, jHigh), and how far from the first, 0
    /// to
    /// 1. A point outside has the place in the box that is nearest. There has to be a node.
    struct Cell
    {
        /// The nodes of the cell's corners.
        /// @{
        uint32 i, j, iHigh, jHigh;
        /// @}
        /// How far the point is from the lower nodes, in separations.
        /// @{
        double x, y;
        /// @}
    };
    /// The cell around a point.
    Cell getCell(const Vector2D& point) const
    {
        const auto steps = [this](double p, double from, uint32 size)
        {
            const double s = (p - from) / separation;
            return s > 0 ? std::min(s, size - 1.0) : 0.0;  // also where it is not a number
        };
        const double x = steps(point.x, origin.x, sizeX), y = steps(point.y, origin.y, sizeY);
        const auto i = static_cast<uint32>(x), j = static_cast<uint32>(y);
        return {i, j, std::min(i + 1, sizeX - 1), std::min(j + 1, sizeY - 1), x - i, y - j};
    }
};

}  // namespace tavrix
