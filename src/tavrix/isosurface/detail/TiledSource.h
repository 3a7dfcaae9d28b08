#pragma once

#include <algorithm>
#include <vector>

#include <tavrix/fields/ScalarField3_SG.h>
#include <tavrix/foundation/detail/SortOnce.h>
#include <tavrix/isosurface/detail/LookupSource.h>

namespace tavrix::detail
{

/// The samples of a tiled field. Only the tiles that are stored are looked at, and those before them, which
/// share a layer of nodes with them: elsewhere all samples are equal.
template <class T>
class TiledSource : public LookupSource<ScalarField3_SG<T, double>, T>
{
    using Base = LookupSource<ScalarField3_SG<T, double>, T>;
    using Base::_field;
    using Base::_threshold;

public:
    using Base::Base;
    using Base::grid;

    /// The cells of the range that the surface crosses, in some order; whatever, once the polling has
    /// stopped.
    Array<CrossedCell> findCells(const CellRange& cells, uint32 threadCount, Polling& polling) const;

private:
    /// Finds the crossed cells of tiles.
    struct TileVisitor
    {
        TileVisitor(const TiledSource& tiled, const CellRange& range)
            : source(tiled), cells(range), signs(tiled.edge(), tiled.edge(), tiled.edge())
        {
        }

        const TiledSource& source;
        const CellRange& cells;
        SignRows signs;
        Array<T> values;
        std::vector<CrossedCell> found;

        void visit(uint32 tile);
        const T* valuesOf(uint32 tile, const Index3& origin);
    };

    uint32 edge() const { return _field.getTileEdge(); }
    std::vector<uint32> listTiles(Polling& polling) const;
};

/// The tiles that are stored and those before them, ascending.
template <class T>
std::vector<uint32> TiledSource<T>::listTiles(Polling& polling) const
{
    const GridDescription3<double>& tiles = _field.getTileGrid().tiles;
    std::vector<uint32> list;
    inPieces(polling, tiles.size, lightItems,
             [&](uint64 begin, uint64 end)
             {
                 for (auto t = static_cast<uint32>(begin); t < end; ++t)
                 {
                     if (!_field.getTile(t)) continue;
                     const Index3 at = tiles.getIndexes(t);
                     for (uint32 back = 0; back < 8; ++back)
                     {
                         const uint32 i = back & 1, j = back >> 1 & 1, k = back >> 2;
                         if (i <= at.a && j <= at.b && k <= at.c)
                             list.push_back(tiles.getMonoindex(at.a - i, at.b - j, at.c - k));
                     }
                 }
             });
    sortOnce(list);
    return list;
}

template <class T>
Array<CrossedCell> TiledSource<T>::findCells(const CellRange& cells, uint32 threadCount,
                                             Polling& polling) const
{
    const std::vector<uint32> tiles = listTiles(polling);
    std::vector<std::vector<CrossedCell>> found(std::max(threadCount, 1u));
    const uint64 nodeCount = tiles.size() * _field.getTileGrid().valuesPerTile();
    if (!polledFor(polling, tiles.size(), threadsWorth(nodeCount, nodesPerPoll, threadCount),
                   [&](uint32 worker, uint64 begin, uint64 end)
                   {
                       TileVisitor visitor(*this, cells);
                       PollCounter nodes(polling, nodesPerPoll);
                       for (uint64 n = begin; n < end; ++n)
                       {
                           visitor.visit(tiles[n]);
                           if (!nodes.add(_field.getTileGrid().valuesPerTile())) return;
                       }
                       found[worker].insert(found[worker].end(), visitor.found.begin(), visitor.found.end());
                   }))
        return {};
    return joined(found);
}

/// The values of a tile, stored or not.
template <class T>
const T* TiledSource<T>::TileVisitor::valuesOf(uint32 tile, const Index3& origin)
{
    if (const Array<T>* stored = source._field.getTile(tile)) return stored->data();
    const uint32 edge = source.edge();
    const GridDescription3<double>& grid = source.grid();
    values.assign(edge * edge * edge, source._field.getDefaultValue());
    const auto inGrid = [&](uint32 axis) { return std::min(edge, grid.sizeAlong(axis) - origin[axis]); };
    for (uint32 i = 0; i < inGrid(0); ++i)
        for (uint32 j = 0; j < inGrid(1); ++j)
            source._field.copySamples(grid.getMonoindex(origin.a + i, origin.b + j, origin.c), inGrid(2),
                                      values.data() + source._field.getTileGrid().valueAt(i, j, 0));
    return values.data();
}

template <class T>
void TiledSource<T>::TileVisitor::visit(uint32 tile)
{
    const TileGrid3<double>& tileGrid = source._field.getTileGrid();
    const uint32 step = tileGrid.step();
    const Index3 at = tileGrid.tiles.getIndexes(tile), origin{at.a * step, at.b * step, at.c * step};
    uint32 low[3], high[3];  // cells, counted from the tile's first node
    for (uint32 axis = 0; axis < 3; ++axis)
    {
        low[axis] = std::max(cells.low[axis], origin[axis]) - origin[axis];
        high[axis] = std::max(std::min(cells.high[axis], origin[axis] + step), origin[axis]) - origin[axis];
        if (low[axis] >= high[axis]) return;
    }
    const T* samples = valuesOf(tile, origin);
    for (uint32 i = low[0]; i <= high[0]; ++i)
        for (uint32 j = low[1]; j <= high[1]; ++j)
            classifyRow(samples + tileGrid.valueAt(i, j, 0), tileGrid.edge, source._threshold,
                        signs.row(i, j));
    for (uint32 i = low[0]; i < high[0]; ++i)
        for (uint32 j = low[1]; j < high[1]; ++j)
            forEachCrossedCell(signs, i, j, low[2], high[2],
                               [&](uint32 k, uint32 index)
                               {
                                   const uint32 cell =
                                       source.grid().getMonoindex(origin.a + i, origin.b + j, origin.c + k);
                                   found.push_back(crossedCell(cell, index));
                               });
}

}  // namespace tavrix::detail
