#include <tavrix/particles/NeighbourGrid.h>

#include <algorithm>
#include <bit>
#include <cmath>

#include <tavrix/foundation/detail/RadixSort.h>

// A cell's key is made of its three indices, counted from the first cell, of 62 bits together at most, z
// lowest, so that the cells of a column follow each other. Where the points spread over more cells than the
// bits can tell, cells far apart share a key. That costs a caller some more points to look at and never hides
// one.

namespace tavrix
{

namespace
{

constexpr uint32 mostKeyBits = 62;
constexpr uint32 notFiniteKey = noIndex;  // above every upper half of a key
constexpr double farthestCell = 1e15;     // whole numbers up to here are exact

}  // namespace

NeighbourGrid::NeighbourGrid(const Array<Vector3F>& positions, double cellSize, uint32 threadCount,
                             detail::Polling& polling)
    : _cellSize(cellSize)
{
    Box3D box = Box3D::empty();
    inPieces(polling, positions.size(), detail::lightItems,
             [&](uint64 begin, uint64 end)
             {
                 for (const Vector3F* p = positions.data() + begin; p != positions.data() + end; ++p)
                     if (isFinite(*p)) box.extend(convert<double>(*p));
             });
    if (!box.isEmpty()) chooseBits(box);
    if (!polling.isStopped()) sortPositions(positions, threadCount, polling);
}

NeighbourGrid::NeighbourGrid(const Array<Vector3F>& positions, double cellSize, uint32 threadCount)
    : _cellSize(cellSize)
{
    detail::Polling none(nullptr);
    *this = NeighbourGrid(positions, cellSize, threadCount, none);
}

int64 NeighbourGrid::cellAlong(double coordinate) const
{
    const double cell = std::floor(coordinate / _cellSize);
    return static_cast<int64>(std::clamp(cell, -farthestCell, farthestCell));
}

uint64 NeighbourGrid::wrapped(uint32 axis, int64 cell) const
{
    return static_cast<uint64>(cell - _firstCell[axis]) & ((uint64{1} << _bits[axis]) - 1);
}

uint64 NeighbourGrid::keyOf(const Vector3F& position) const
{
    uint64 key = 0;
    for (uint32 axis = 0; axis < 3; ++axis)
        key = key << _bits[axis] | wrapped(axis, cellAlong(position[axis]));
    return key;
}

void NeighbourGrid::chooseBits(const Box3D& box)
{
    for (uint32 axis = 0; axis < 3; ++axis)
    {
        _firstCell[axis] = cellAlong(box.min[axis]);
        const auto cells = static_cast<uint64>(cellAlong(box.max[axis]) - _firstCell[axis] + 3);
        _bits[axis] = static_cast<uint32>(std::bit_width(cells));
    }
    while (_bits[0] + _bits[1] + _bits[2] > mostKeyBits) --*std::max_element(_bits, _bits + 3);
}

bool NeighbourGrid::sortPositions(const Array<Vector3F>& positions, uint32 threadCount,
                                  detail::Polling& polling)
{
    constexpr uint32 halfBits = 32;
    const bool isOneHalf = _bits[0] + _bits[1] + _bits[2] < halfBits;
    Array<uint64> items(positions.size());
    for (uint32 half = 0; half < (isOneHalf ? 1 : 2); ++half)
    {
        inPieces(polling, items.size(), detail::scatteredItems, threadCount,
                 [&](uint32, uint64 begin, uint64 end)
                 {
                     for (uint64 n = begin; n < end; ++n)
                     {
                         const auto number = static_cast<uint32>(half == 0 ? n : items[n]);
                         const Vector3F& p = positions[number];
                         const uint64 key = isFinite(p) ? keyOf(p) >> (half * halfBits) : notFiniteKey;
                         items[n] = key << halfBits | number;
                     }
                 });
        if (!polling.isStopped()) detail::radixSortByUpperHalf(items, threadCount, polling);
    }
    if (polling.isStopped()) return false;
    const auto end = std::lower_bound(items.begin(), items.end(), uint64{notFiniteKey} << halfBits);
    items.resize(static_cast<uint32>(end - items.begin()));

    _order.resize(items.size());
    for (Array<float>& coordinates : _coordinates) coordinates.resize(items.size() + padding);
    inPieces(polling, items.size(), detail::scatteredItems, threadCount,
             [&](uint32, uint64 begin, uint64 last)
             {
                 for (uint64 n = begin; n < last; ++n)
                 {
                     _order[n] = static_cast<uint32>(items[n]);
                     const Vector3F& p = positions[_order[n]];
                     for (uint32 axis = 0; axis < 3; ++axis) _coordinates[axis][n] = p[axis];
                     items[n] = isOneHalf ? items[n] >> halfBits : keyOf(p);
                 }
             });
    for (Array<float>& coordinates : _coordinates)
        std::fill_n(coordinates.data() + items.size(), uint32{padding}, 0.0f);
    if (!polling.isStopped()) collectCells(items, polling);
    return !polling.isStopped();
}

/// Lists the cells of the points, whose keys ascend.
void NeighbourGrid::collectCells(const Array<uint64>& keys, detail::Polling& polling)
{
    const auto begins = [&](uint32 n) { return n == 0 || keys[n] != keys[n - 1]; };
    uint32 count = 0;
    inPieces(polling, keys.size(), detail::lightItems,
             [&](uint64 begin, uint64 end)
             {
                 for (auto n = static_cast<uint32>(begin); n < end; ++n) count += begins(n);
             });
    _cellKeys.reserve(count);
    _cellStarts.reserve(count + 1);
    inPieces(polling, keys.size(), detail::lightItems,
             [&](uint64 begin, uint64 end)
             {
                 for (auto n = static_cast<uint32>(begin); n < end; ++n)
                 {
                     if (!begins(n)) continue;
                     _cellKeys.push_back(keys[n]);
                     _cellStarts.push_back(n);
                 }
             });
    if (polling.isStopped()) return;
    _cellStarts.push_back(keys.size());

    const auto directoryBits = static_cast<uint32>(std::bit_width(count));
    const uint32 bits = std::max(_bits[0] + _bits[1] + _bits[2], directoryBits);
    _directoryShift = bits - directoryBits;
    _directory.resize((1u << directoryBits) + 1);
    uint32 cell = 0;
    inPieces(polling, _directory.size(), detail::lightItems,
             [&](uint64 begin, uint64 end)
             {
                 for (auto prefix = static_cast<uint32>(begin); prefix < end; ++prefix)
                 {
                     while (cell < count && _cellKeys[cell] >> _directoryShift < prefix) ++cell;
                     _directory[prefix] = cell;
                 }
             });
}

/// The first cell whose key is at least `key`; none before `behind` is. Looks from there on in growing steps:
/// where few points lie far apart the directory tells little, but the next column is near.
uint32 NeighbourGrid::firstCellFrom(uint64 key, uint32 behind) const
{
    const uint64 prefix = key >> _directoryShift;
    if (prefix + 1 >= _directory.size()) return cellCount();
    const uint32 end = _directory[prefix + 1];
    uint32 low = std::max(_directory[prefix], behind), high = low;
    for (uint32 step = 1; high < end && _cellKeys[high] < key; step *= 2)
    {
        low = high + 1;
        high = end - high > step ? high + step : end;
    }
    const uint64* keys = _cellKeys.data();
    return static_cast<uint32>(std::lower_bound(keys + low, keys + high, key) - keys);
}

/// Appends the cells of a column from one key to another, closed; none is before `behind`. Returns the first
/// cell behind them.
uint32 NeighbourGrid::appendRun(uint64 lowKey, uint64 highKey, uint32 behind, std::vector<Run>& runs) const
{
    const uint32 first = firstCellFrom(lowKey, behind);
    uint32 last = first;
    while (last < cellCount() && _cellKeys[last] <= highKey) ++last;
    if (first < last) runs.push_back({_cellStarts[first], _cellStarts[last]});
    return last;
}

void NeighbourGrid::findRunsOfCells(const CellBox& box, std::vector<Run>& runs) const
{
    runs.clear();
    int64 count[3];
    for (uint32 axis = 0; axis < 3; ++axis)
        count[axis] = std::min(box.high[axis] - box.low[axis] + 1, int64{1} << _bits[axis]);
    if (count[0] > cellCount() || count[0] * count[1] > cellCount()) return findRunsInAllCells(box, runs);
    const uint64 zFirst = wrapped(2, box.low[2]), zLast = wrapped(2, box.low[2] + count[2] - 1);
    const uint64 zEnd = (uint64{1} << _bits[2]) - 1;
    uint64 lastColumn = 0;
    uint32 behind = 0;
    for (int64 i = box.low[0]; i < box.low[0] + count[0]; ++i)
        for (int64 j = box.low[1]; j < box.low[1] + count[1]; ++j)
        {
            const uint64 column = (wrapped(0, i) << _bits[1] | wrapped(1, j)) << _bits[2];
            if (column < lastColumn) behind = 0;
            lastColumn = column;
            if (zFirst <= zLast)
                behind = appendRun(column | zFirst, column | zLast, behind, runs);
            else
            {
                appendRun(column | zFirst, column | zEnd, behind, runs);
                behind = appendRun(column, column | zLast, behind, runs);
            }
        }
}

/// The same for boxes of more columns than there are cells, from the cells' side.
void NeighbourGrid::findRunsInAllCells(const CellBox& box, std::vector<Run>& runs) const
{
    const auto isInside = [&](uint32 axis, uint64 index)
    {
        const uint64 steps = (index - static_cast<uint64>(box.low[axis] - _firstCell[axis])) &
                             ((uint64{1} << _bits[axis]) - 1);
        return steps <= static_cast<uint64>(box.high[axis] - box.low[axis]);
    };
    uint64 lastColumn = ~uint64{0};
    uint32 lastCell = noIndex;
    for (uint32 c = 0; c < cellCount(); ++c)
    {
        const uint64 column = _cellKeys[c] >> _bits[2];
        if (!isInside(2, _cellKeys[c] & ((uint64{1} << _bits[2]) - 1)) ||
            !isInside(1, column & ((uint64{1} << _bits[1]) - 1)) || !isInside(0, column >> _bits[1]))
            continue;
        if (column == lastColumn && lastCell + 1 == c)
            runs.back().end = _cellStarts[c + 1];
        else
            runs.push_back(cell(c));
        lastColumn = column;
        lastCell = c;
    }
}

void NeighbourGrid::findRuns(const Box3D& box, std::vector<Run>& runs) const
{
    CellBox cells{};
    for (uint32 axis = 0; axis < 3; ++axis)
    {
        cells.low[axis] = cellAlong(box.min[axis]);
        cells.high[axis] = cellAlong(box.max[axis]);
    }
    findRunsOfCells(cells, runs);
}

void NeighbourGrid::findRunsOfCell(uint32 c, double radius, std::vector<Run>& runs) const
{
    const double steps = std::ceil(radius / _cellSize);
    const auto reach = static_cast<int64>(std::min(steps, farthestCell));
    CellBox box{};
    for (uint32 axis = 0; axis < 3; ++axis)
    {
        const int64 cell = cellAlong(_coordinates[axis][_cellStarts[c]]);
        box.low[axis] = cell - reach;
        box.high[axis] = cell + reach;
    }
    findRunsOfCells(box, runs);
}

}  // namespace tavrix
