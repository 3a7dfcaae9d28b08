#pragma once

#include <memory>

#include <tavrix/foundation/Array.h>
#include <tavrix/spatial/detail/IntegratingKernel.h>
#include <tavrix/spatial/GeometryNodeEx.h>

namespace tavrix::detail
{

/// The smallest box that holds both. A coordinate that is not a number does not count beside one that is.
inline Box3F unionOf(const Box3F& a, const Box3F& b)
{
    const auto isNumber = [](float v) { return v == v; };
    Box3F box;
    for (uint32 axis = 0; axis < 3; ++axis)
    {
        box.min[axis] = b.min[axis] < a.min[axis] || !isNumber(a.min[axis]) ? b.min[axis] : a.min[axis];
        box.max[axis] = b.max[axis] > a.max[axis] || !isNumber(a.max[axis]) ? b.max[axis] : a.max[axis];
    }
    return box;
}

/// Merges nodes by their scores. A table is used for one subset after another.
///
/// The rows are in the order of the entries, new nodes behind them, and every row knows the first of the
/// rows that it scores best with. That holds the work down: a merge can change the best of a row only to the
/// new node, unless the best was one of the merged, and only then the row is scored anew.
class IntegratingTable
{
public:
    IntegratingTable();

    /// Merges `count` (at most 256) nodes, two at a time, until `target` (at least 1) are left: always the
    /// first row with the best score and its partner, or the first two rows when no pair has a score (boxes
    /// beyond single precision). New nodes go to nodes[firstNew], nodes[firstNew + 1], ... The entries that
    /// are left come first in `entries`, in the order of the rows; their number is returned.
    uint32 integrateSubset(GeometryNodeEx<Box3F>* nodes, uint32* entries, uint32 count, uint32 target,
                           uint32 firstNew);

private:
    void clear();
    void append(const GeometryNodeEx<Box3F>* nodes, uint32 node);
    void remove(uint32 row);
    void compact();
    void rescoreOrphans(uint32 a, uint32 b);
    uint32 firstLive(uint32 from) const;
    void mergeBest(GeometryNodeEx<Box3F>* nodes, uint32 fresh);

    std::unique_ptr<IntegratingRows> _rows;
    uint32 _node[IntegratingRows::capacity];  ///< of each row, noIndex once it is merged away
};

}  // namespace tavrix::detail
