#pragma once

#include <tavrix/fields/GridDescription3.h>
#include <tavrix/foundation/Divisor.h>

namespace tavrix
{

/// How the nodes of a grid are spread over cubic tiles of `edge` nodes a side.
///
/// Tiles begin every edge - 1 nodes, so that neighbours share a layer of nodes: local index edge - 1 of a
/// tile is local index 0 of the next one along that axis. A node belongs to the tile in which its local
/// indices are below edge - 1. The tiles themselves are numbered as the nodes of a grid, z fastest, and so
/// are the edge^3 values of a tile; of the last tiles a part lies outside the nodes' grid.
template <class Coord>
struct TileGrid3
{
    /// Nodes along a tile's side.
    uint32 edge;
    /// Divides by edge - 1.
    Divisor byStep;
    /// One node a tile, (edge - 1) separations apart, centred where the nodes' grid is.
    GridDescription3<Coord> tiles;

    /// The tiles of a grid that is centred on the origin. The edge is at least 2.
    static TileGrid3 over(const GridDescription3<Coord>& nodes, uint32 edge)
    {
        const uint32 step = edge - 1;
        const auto count = [step](uint32 size) { return size / step + (size % step != 0); };
        return {edge, Divisor(step),
                GridDescription3<Coord>::centered(count(nodes.sizeX), count(nodes.sizeY), count(nodes.sizeZ),
                                                  nodes.separation * static_cast<Coord>(step))};
    }

    /// Nodes from one tile to the next, and values of a tile.
    /// @{
    uint32 step() const { return edge - 1; }
    uint32 valuesPerTile() const { return edge * edge * edge; }
    /// @}

    /// Where the value of a node is stored: the tile's monoindex, and the place within the tile.
    struct Place
    {
        /// The tile's monoindex, and the value's place in it.
        /// @{
        uint32 tile;
        uint32 value;
        /// @}
        bool isShared;  ///< whether a local index is 0, so that tiles before this one may hold copies
    };
    /// Where the value of a node is stored.
    Place placeOf(uint32 i, uint32 j, uint32 k) const
    {
        const auto x = byStep.divide(i), y = byStep.divide(j), z = byStep.divide(k);
        return {tiles.getMonoindex(x.quotient, y.quotient, z.quotient), valueAt(x.rest, y.rest, z.rest),
                x.rest == 0 || y.rest == 0 || z.rest == 0};
    }
    /// The tile that a node belongs to, and its local indices there.
    /// @{
    Index3 tileOf(const Index3& node) const
    {
        return {byStep.divide(node.a).quotient, byStep.divide(node.b).quotient,
                byStep.divide(node.c).quotient};
    }
    Index3 localOf(const Index3& node) const
    {
        return {byStep.divide(node.a).rest, byStep.divide(node.b).rest, byStep.divide(node.c).rest};
    }
    /// @}
    /// The place of local indices within a tile's values.
    uint32 valueAt(uint32 li, uint32 lj, uint32 lk) const { return (li * edge + lj) * edge + lk; }
};

}  // namespace tavrix
