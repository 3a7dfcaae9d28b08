#include <tavrix/spatial/detail/IntegratingTable.h>

#include <algorithm>
#include <limits>

namespace tavrix::detail
{

namespace
{

/// Merged rows that may wait to be swept out.
constexpr uint32 mostDead = 32;
static_assert(256 + mostDead + 2 <= IntegratingRows::capacity);

constexpr float notANumber = std::numeric_limits<float>::quiet_NaN();
constexpr float belowAll = -std::numeric_limits<float>::infinity();

}  // namespace

IntegratingTable::IntegratingTable() : _rows(std::make_unique<IntegratingRows>())
{
    _rows->count = IntegratingRows::capacity;
    clear();
}

void IntegratingTable::clear()
{
    for (uint32 r = 0; r < _rows->count; ++r) remove(r);
    _rows->count = 0;
}

void IntegratingTable::append(const GeometryNodeEx<Box3F>* nodes, uint32 node)
{
    IntegratingRows& rows = *_rows;
    const Box3F& box = nodes[node].node.box;
    const uint32 r = rows.count++;
    for (uint32 axis = 0; axis < 3; ++axis)
    {
        rows.min[axis][r] = box.min[axis];
        rows.max[axis][r] = box.max[axis];
    }
    rows.volume[r] = (box.max.x - box.min.x) * (box.max.y - box.min.y) * (box.max.z - box.min.z);
    _node[r] = node;
    TX_RUN_KERNEL(scoreLastRow, rows);
}

void IntegratingTable::remove(uint32 row)
{
    _rows->volume[row] = notANumber;
    _rows->best[row] = belowAll;
    _rows->partner[row] = noIndex;
    _node[row] = noIndex;
}

/// Sweeps the merged rows out; the others keep their order, which is all that ties depend on.
void IntegratingTable::compact()
{
    IntegratingRows& rows = *_rows;
    uint32 renumbered[IntegratingRows::capacity];
    uint32 live = 0;
    for (uint32 r = 0; r < rows.count; ++r)
        if (_node[r] != noIndex) renumbered[r] = live++;
    live = 0;
    for (uint32 r = 0; r < rows.count; ++r)
    {
        if (_node[r] == noIndex) continue;
        for (uint32 axis = 0; axis < 3; ++axis)
        {
            rows.min[axis][live] = rows.min[axis][r];
            rows.max[axis][live] = rows.max[axis][r];
        }
        rows.volume[live] = rows.volume[r];
        rows.best[live] = rows.best[r];
        rows.partner[live] = rows.partner[r] == noIndex ? noIndex : renumbered[rows.partner[r]];
        _node[live++] = _node[r];
    }
    for (uint32 r = live; r < rows.count; ++r) remove(r);
    rows.count = live;
}

void IntegratingTable::rescoreOrphans(uint32 a, uint32 b)
{
    for (uint32 r = 0; r < _rows->count; ++r)
        if (_rows->partner[r] == a || _rows->partner[r] == b) TX_RUN_KERNEL(rescore, *_rows, r);
}

uint32 IntegratingTable::firstLive(uint32 from) const
{
    while (_node[from] == noIndex) ++from;
    return from;
}

void IntegratingTable::mergeBest(GeometryNodeEx<Box3F>* nodes, uint32 fresh)
{
    uint32 a = TX_RUN_KERNEL(bestRow, *_rows), b;
    if (a != noIndex)
        b = _rows->partner[a];
    else
    {
        a = firstLive(0);
        b = firstLive(a + 1);
    }
    const uint32 first = _node[a], second = _node[b];
    nodes[fresh] = {{unionOf(nodes[first].node.box, nodes[second].node.box), 0, first}, second};
    remove(a);
    remove(b);
    append(nodes, fresh);
    rescoreOrphans(a, b);
}

uint32 IntegratingTable::integrateSubset(GeometryNodeEx<Box3F>* nodes, uint32* entries, uint32 count,
                                         uint32 target, uint32 firstNew)
{
    if (count <= target) return count;
    clear();
    for (uint32 n = 0; n < count; ++n) append(nodes, entries[n]);
    for (uint32 live = count; live > target; --live)
    {
        if (_rows->count - live >= mostDead) compact();
        mergeBest(nodes, firstNew++);
    }
    std::copy_if(_node, _node + _rows->count, entries, [](uint32 node) { return node != noIndex; });
    return target;
}

}  // namespace tavrix::detail
