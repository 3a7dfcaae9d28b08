#pragma once

#include <algorithm>

#include <tavrix/fields/detail/LatticeNodes.h>
#include <tavrix/foundation/Divisor.h>

namespace tavrix::detail
{

/// A lattice of tiles cut into bricks: boxes of whole tiles with some hundred thousand nodes, or of one tile
/// that has more. A brick has the layers that its last tiles share with the next brick's first ones, so all
/// values of its tiles are its own. Bricks are numbered with z fastest.
class TileBricks
{
public:
    TileBricks(const LatticeNodes& lattice, uint32 tileStep)
        : _size{lattice.size[0], lattice.size[1], lattice.size[2]}, _byStep(tileStep)
    {
        uint32 axis;
        while (2 * nodesPerBrick() <= mostNodes && (axis = shortestSide()) < 3) _tiles[axis] *= 2;
        for (axis = 0; axis < 3; ++axis)
        {
            _byWidth[axis] = Divisor(width(axis));
            _count[axis] = (_size[axis] - 1) / width(axis) + 1;
        }
    }

    uint32 size() const { return _count[0] * _count[1] * _count[2]; }

    /// Calls visit(brick, part) for every brick that has nodes in the box, with the part that they make.
    template <class Visit>
    void forEachIn(const NodeBox& box, Visit visit) const
    {
        uint32 first[3], last[3], brick[3];
        for (uint32 axis = 0; axis < 3; ++axis)
        {
            first[axis] = firstAt(_byWidth[axis], box.low[axis]);
            last[axis] = _byWidth[axis].divide(box.high[axis] - 1).quotient;
        }
        for (brick[0] = first[0]; brick[0] <= last[0]; ++brick[0])
            for (brick[1] = first[1]; brick[1] <= last[1]; ++brick[1])
                for (brick[2] = first[2]; brick[2] <= last[2]; ++brick[2])
                    visit((brick[0] * _count[1] + brick[1]) * _count[2] + brick[2], partOf(box, brick));
    }

    /// The tiles of a brick that have nodes in the box, by tile indices, half open.
    NodeBox tilesIn(uint32 brick, const NodeBox& box) const
    {
        const uint32 at[] = {brick / _count[2] / _count[1], brick / _count[2] % _count[1], brick % _count[2]};
        NodeBox tiles;
        for (uint32 axis = 0; axis < 3; ++axis)
        {
            const uint32 first = at[axis] * _tiles[axis];
            tiles.low[axis] = std::max(first, firstAt(_byStep, box.low[axis]));
            tiles.high[axis] =
                std::min(first + _tiles[axis], _byStep.divide(box.high[axis] - 1).quotient + 1);
        }
        return tiles;
    }

private:
    static constexpr uint64 mostNodes = uint64{1} << 18;

    /// Nodes from one brick to the next.
    uint32 width(uint32 axis) const { return _tiles[axis] * _byStep.getDivisor(); }

    uint64 nodesPerBrick() const
    {
        uint64 nodes = 1;
        for (uint32 axis = 0; axis < 3; ++axis) nodes *= std::min(width(axis), _size[axis]);
        return nodes;
    }

    /// The axis along which bricks are shortest, of those along which they can grow; 3 when there is none.
    uint32 shortestSide() const
    {
        uint32 shortest = 3;
        for (uint32 axis = 0; axis < 3; ++axis)
            if (width(axis) < _size[axis] && (shortest == 3 || _tiles[axis] < _tiles[shortest]))
                shortest = axis;
        return shortest;
    }

    /// First brick along an axis that contains the node; shared layers lie in two.
    static uint32 firstAt(const Divisor& byNodes, uint32 node)
    {
        return node == 0 ? 0 : byNodes.divide(node - 1).quotient;
    }

    NodeBox partOf(const NodeBox& box, const uint32 (&brick)[3]) const
    {
        NodeBox part;
        for (uint32 axis = 0; axis < 3; ++axis)
        {
            const uint64 begin = uint64{brick[axis]} * width(axis);
            part.low[axis] = static_cast<uint32>(std::max<uint64>(box.low[axis], begin));
            part.high[axis] = static_cast<uint32>(std::min<uint64>(box.high[axis], begin + width(axis) + 1));
        }
        return part;
    }

    uint32 _size[3];            ///< nodes
    uint32 _tiles[3]{1, 1, 1};  ///< tiles of a brick
    uint32 _count[3];           ///< bricks
    Divisor _byStep, _byWidth[3]{Divisor(1), Divisor(1), Divisor(1)};
};

}  // namespace tavrix::detail
