#pragma once

#include <vector>

#include <tavrix/foundation/Array.h>
#include <tavrix/foundation/Box3.h>
#include <tavrix/platform/Export.h>

namespace tavrix
{

namespace detail
{
class Polling;
}

/// Points sorted by the cells of a uniform grid, to find those within a distance of any place. Cells lie at
/// whole multiples of their side, so what a query finds does not depend on points elsewhere.
///
/// Built in linear time, in parallel, with the same result for every thread count; memory is linear in the
/// points, wherever they lie: only cells with points are kept. Queries answer with runs of consecutive sorted
/// points that hold every point in reach, and others; the caller measures the distances, along the runs.
class TX_GEOMETRY_API NeighbourGrid
{
public:
    /// Consecutive sorted points, half open.
    struct Run
    {
        /// The numbers of the first sorted point, and of the one behind the last.
        /// @{
        uint32 begin, end;
        /// @}
    };

    /// How many more coordinates may be read behind the last point's.
    enum : uint32
    {
        padding = 16
    };

    /// Sorts the points that are finite by cells of the given side, and by their index within a cell. A side
    /// of half the usual query radius serves well; it must be positive and finite.
    NeighbourGrid(const Array<Vector3F>& positions, double cellSize, uint32 threadCount = 1);
    /// The same with polls; a grid of no use once they have stopped it.
    NeighbourGrid(const Array<Vector3F>& positions, double cellSize, uint32 threadCount,
                  detail::Polling& polling);

    /// The number of sorted points; less than there were positions when some are not finite.
    uint32 size() const { return _order.size(); }
    /// Which position a sorted point is.
    const Array<uint32>& order() const { return _order; }
    /// Coordinates of the sorted points, one array an axis, and `padding` zeros at its end.
    const float* coordinates(uint32 axis) const { return _coordinates[axis].data(); }

    /// The cells that hold points, in the order of the points.
    /// @{
    uint32 cellCount() const { return _cellKeys.size(); }
    Run cell(uint32 c) const { return {_cellStarts[c], _cellStarts[c + 1]}; }
    /// @}

    /// Replaces `runs` by runs, none twice, with every point in the closed box.
    void findRuns(const Box3D& box, std::vector<Run>& runs) const;
    /// The same with every point closer than `radius` to any place in a cell that holds points.
    void findRunsOfCell(uint32 c, double radius, std::vector<Run>& runs) const;

private:
    /// A box of cells, closed.
    struct CellBox
    {
        int64 low[3], high[3];
    };

    int64 cellAlong(double coordinate) const;
    uint64 wrapped(uint32 axis, int64 cell) const;
    uint64 keyOf(const Vector3F& position) const;
    void chooseBits(const Box3D& box);
    bool sortPositions(const Array<Vector3F>& positions, uint32 threadCount, detail::Polling& polling);
    void collectCells(const Array<uint64>& keys, detail::Polling& polling);
    uint32 firstCellFrom(uint64 key, uint32 behind) const;
    void findRunsOfCells(const CellBox& box, std::vector<Run>& runs) const;
    void findRunsInAllCells(const CellBox& box, std::vector<Run>& runs) const;
    uint32 appendRun(uint64 lowKey, uint64 highKey, uint32 behind, std::vector<Run>& runs) const;

    double _cellSize;
    int64 _firstCell[3]{};  ///< of the smallest coordinates
    uint32 _bits[3]{};      ///< of a key, per axis; cells further apart than they can tell share keys
    Array<uint32> _order;
    Array<float> _coordinates[3];
    Array<uint64> _cellKeys;    ///< ascending
    Array<uint32> _cellStarts;  ///< the first point of each cell, and at the end the number of points
    uint32 _directoryShift = 0;
    Array<uint32> _directory;  ///< the first cell whose key >> shift is at least the index
};

}  // namespace tavrix
