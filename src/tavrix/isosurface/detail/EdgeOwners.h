#pragma once

#include <bit>

#include <tavrix/isosurface/detail/CellRange.h>
#include <tavrix/isosurface/detail/MarchingCubesTable.h>

// Which of the cells that share an edge numbers the vertex on it: the first of the range.

namespace tavrix::detail
{

/// Bits 0, 1, 2: the cell is the first of the range along x, y, z.
inline uint32 firstAlong(const CellRange& cells, uint32 i, uint32 j, uint32 k)
{
    return (i == cells.low.a ? 1u : 0u) | (j == cells.low.b ? 2u : 0u) | (k == cells.low.c ? 4u : 0u);
}

/// For each of the eight combinations "first cell along x, y, z" (bits 0, 1, 2), the edges that a cell owns:
/// those that no earlier cell shares, which lie on the far side, or on the range's low border, of both axes
/// across them.
inline constexpr std::array<uint16, 8> ownedEdges = []
{
    std::array<uint16, 8> masks{};
    for (uint32 first = 0; first < 8; ++first)
        for (uint32 e = 0; e < 12; ++e)
        {
            const CellEdge& edge = cellEdges[e];
            const bool x = edge.axis == 0 || edge.dx == 1 || (first & 1);
            const bool y = edge.axis == 1 || edge.dy == 1 || (first & 2);
            const bool z = edge.axis == 2 || edge.dz == 1 || (first & 4);
            if (x && y && z) masks[first] = static_cast<uint16>(masks[first] | 1u << e);
        }
    return masks;
}();

/// How many edges a cell of a case owns, for each of those combinations.
inline constexpr std::array<std::array<uint8, 256>, 8> ownedEdgeCounts = []
{
    std::array<std::array<uint8, 256>, 8> counts{};
    for (uint32 first = 0; first < 8; ++first)
        for (uint32 c = 0; c < 256; ++c)
            counts[first][c] = static_cast<uint8>(
                std::popcount(static_cast<uint32>(marchingCubesCases[c].edgeMask & ownedEdges[first])));
    return counts;
}();

}  // namespace tavrix::detail
