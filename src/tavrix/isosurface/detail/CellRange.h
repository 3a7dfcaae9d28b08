#pragma once

#include <tavrix/fields/GridDescription3.h>

namespace tavrix::detail
{

/// A box of cells, half open: the cells whose lower nodes (i, j, k) have low <= (i, j, k) < high on every
/// axis.
struct CellRange
{
    Index3 low, high;

    bool empty() const { return low.a >= high.a || low.b >= high.b || low.c >= high.c; }
};

/// The cells left when `low` layers are skipped at the low end of each axis and `high` at the high end. The
/// difference is taken in unsigned arithmetic, as it always was: a high margin of the axis' size or more
/// leaves the high end open.
CellRange cellsWithinMargins(const GridDescription3<double>& grid, const Index3& low, const Index3& high);

/// The cells of which at least one corner node lies in the closed box.
CellRange cellsTouchingBox(const GridDescription3<double>& grid, const Box3<double>& box);

}  // namespace tavrix::detail
