#include <tavrix/particles/NeighbourGrid.h>

#include <algorithm>
#include <bit>
#include <cmath>

#include <tavrix/foundation/detail/RadixSort.h>

// A cell's key is made of the lower bits of its three indices, 31 bits together, z lowest, so that the cells
// of a column follow each other. Where the points spread over more cells than the bits can tell, cells far
// apart share a key. That costs a caller some more points to look at and never hides one.

namespace tavrix
{

namespace
{

constexpr uint32 keyBits = 31;
constexpr uint32 notFiniteKey = noIndex;  // above every key
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
    if (!box.isEmpty())
    {
        _origin = box.min;
        chooseBits(box.max - box.min);
    }
    if (!polling.isStopped()) sortPositions(positions, threadCount, polling);
}

NeighbourGrid::NeighbourGrid(const Array<Vector3F>& positions, double cellSize, uint32 threadCount)
    : _cellSize(cellSize)
{
    detail::Polling none(nullptr);
    *this = NeighbourGrid(positions, cellSize, threadCount, none);
}

int64 NeighbourGrid::cellAlong(uint32 axis, double coordinate) const
{
    const double cell = std::floor((coordinate - _origin[axis]) / _cellSize);
    return static_cast<int64>(std::clamp(cell, -farthestCell, farthestCell));
}

uint32 NeighbourGrid::wrapped(uint32 axis, int64 cell) const
{
    return static_cast<uint32>(cell) & ((1u << _bits[axis]) - 1);
}

void NeighbourGrid::chooseBits(const Vector3D& extent)
{
    for (uint32 axis = 0; axis < 3; ++axis)
    {
        const double cells = std::min(extent[axis] / _cellSize + 3, farthestCell);
        _bits[axis] = static_cast<uint32>(std::bit_width(static_cast<uint64>(cells)));
    }
    while (_bits[0] + _bits[1] + _bits[2] > keyBits) --*std::max_element(_bits, _bits + 3);
}

bool NeighbourGrid::sortPositions(const Array<Vector3F>& positions, uint32 threadCount,
                                  detail::Polling& polling)
{
    Array<uint64> items(positions.size());
    inPieces(polling, items.size(), detail::scatteredItems, threadCount,
             [&](uint32, uint64 begin, uint64 end)
             {
                 for (uint64 n = begin; n < end; ++n)
                 {
                     uint32 key = isFinite(positions[n]) ? 0 : notFiniteKey;
                     for (uint32 axis = 0; axis < 3 && key != notFiniteKey; ++axis)
                         key = key << _bits[axis] | wrapped(axis, cellAlong(axis, positions[n][axis]));
                     items[n] = uint64{key} << 32 | n;
                 }
             });
    if (!polling.isStopped()) detail::radixSortByUpperHalf(items, threadCount, polling);
    if (polling.isStopped()) return false;
    const auto end = std::lower_bound(items.begin(), items.end(), uint64{notFiniteKey} << 32);
    items.resize(static_cast<uint32>(end - items.begin()));

    _order.resize(items.size());
    for (Array<float>& coordinates : _coordinates) coordinates.resize(items.size() + padding);
    inPieces(polling, items.size(), detail::scatteredItems, threadCount,
             [&](uint32, uint64 begin, uint64 last)
             {
                 for (uint64 n = begin; n < last; ++n)
                 {
                     _order[n] = static_cast<uint32>(items[n]);
                     for (uint32 axis = 0; axis < 3; ++axis)
                         _coordinates[axis][n] = positions[_order[n]][axis];
                 }
             });
    for (Array<float>& coordinates : _coordinates)
        std::fill_n(coordinates.data() + items.size(), uint32{padding}, 0.0f);
    if (!polling.isStopped()) collectCells(items, polling);
    return !polling.isStopped();
}

void NeighbourGrid::collectCells(const Array<uint64>& sorted, detail::Polling& polling)
{
    const auto key = [&](uint32 n) { return static_cast<uint32>(sorted[n] >> 32); };
    const auto begins = [&](uint32 n) { return n == 0 || key(n) != key(n - 1); };
    uint32 count = 0;
    inPieces(polling, sorted.size(), detail::lightItems,
             [&](uint64 begin, uint64 end)
             {
                 for (auto n = static_cast<uint32>(begin); n < end; ++n) count += begins(n);
             });
    _cellKeys.reserve(count);
    _cellStarts.reserve(count + 1);
    inPieces(polling, sorted.size(), detail::lightItems,
             [&](uint64 begin, uint64 end)
             {
                 for (auto n = static_cast<uint32>(begin); n < end; ++n)
                 {
                     if (!begins(n)) continue;
                     _cellKeys.push_back(key(n));
                     _cellStarts.push_back(n);
                 }
             });
    if (polling.isStopped()) return;
    _cellStarts.push_back(sorted.size());

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

/// The first point whose cell's key is at least `key`.
uint32 NeighbourGrid::firstPointFrom(uint32 key) const
{
    const uint32 prefix = key >> _directoryShift;
    if (prefix + 1 >= _directory.size()) return size();
    const uint32* keys = _cellKeys.data();
    const uint32* found = std::lower_bound(keys + _directory[prefix], keys + _directory[prefix + 1], key);
    return _cellStarts[static_cast<uint32>(found - keys)];
}

void NeighbourGrid::appendRun(uint32 lowKey, uint32 highKey, std::vector<Run>& runs) const
{
    const Run run{firstPointFrom(lowKey), firstPointFrom(highKey + 1)};
    if (run.begin < run.end) runs.push_back(run);
}

void NeighbourGrid::findRunsOfCells(const CellBox& box, std::vector<Run>& runs) const
{
    runs.clear();
    int64 low[3], count[3];
    for (uint32 axis = 0; axis < 3; ++axis)
    {
        low[axis] = box.low[axis];
        count[axis] = std::min(box.high[axis] - box.low[axis] + 1, int64{1} << _bits[axis]);
    }
    if (count[0] * count[1] > cellCount())
    {
        if (size() != 0) runs.push_back({0, size()});
        return;
    }
    const uint32 zFirst = wrapped(2, low[2]), zLast = wrapped(2, low[2] + count[2] - 1);
    const uint32 zEnd = (1u << _bits[2]) - 1;
    for (int64 i = low[0]; i < low[0] + count[0]; ++i)
        for (int64 j = low[1]; j < low[1] + count[1]; ++j)
        {
            const uint32 column = (wrapped(0, i) << _bits[1] | wrapped(1, j)) << _bits[2];
            if (zFirst <= zLast)
                appendRun(column | zFirst, column | zLast, runs);
            else
            {
                appendRun(column, column | zLast, runs);
                appendRun(column | zFirst, column | zEnd, runs);
            }
        }
}

void NeighbourGrid::findRuns(const Box3D& box, std::vector<Run>& runs) const
{
    CellBox cells{};
    for (uint32 axis = 0; axis < 3; ++axis)
    {
        cells.low[axis] = cellAlong(axis, box.min[axis]);
        cells.high[axis] = cellAlong(axis, box.max[axis]);
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
        const int64 cell = cellAlong(axis, _coordinates[axis][_cellStarts[c]]);
        box.low[axis] = cell - reach;
        box.high[axis] = cell + reach;
    }
    findRunsOfCells(box, runs);
}

}  // namespace tavrix
