#include <tavrix/isosurface/detail/CellRange.h>

namespace tavrix::detail
{

CellRange cellsWithinMargins(const GridDescription3<double>& grid, const Index3& low, const Index3& high)
{
    CellRange cells{low, {0, 0, 0}};
    for (uint32 axis = 0; axis < 3; ++axis)
    {
        const uint32 size = grid.sizeAlong(axis);
        if (size > 1) cells.high[axis] = std::min(size - 1, size - high[axis] - 1);
    }
    return cells;
}

CellRange cellsTouchingBox(const GridDescription3<double>& grid, const Box3<double>& box)
{
    CellRange cells{{0, 0, 0}, {0, 0, 0}};
    for (uint32 axis = 0; axis < 3; ++axis)
    {
        const uint32 size = grid.sizeAlong(axis);
        const auto inside = [&](uint32 index)
        {
            const double p = grid.getCoordinate(axis, index);
            return box.min[axis] <= p && p <= box.max[axis];
        };
        uint32 first = 0;
        while (first < size && !inside(first)) ++first;
        uint32 last = first;
        while (last < size && inside(last)) ++last;
        if (first == last || size < 2) return {};
        cells.low[axis] = first == 0 ? 0 : first - 1;
        cells.high[axis] = std::min(last, size - 1);
    }
    return cells;
}

}  // namespace tavrix::detail
