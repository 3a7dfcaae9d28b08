#include <tavrix/fields/Vector3Field3.h>

#include <tavrix/fields/detail/PointCell.h>

namespace tavrix
{

template <class Value, class Coord>
void Vector3Field3<Value, Coord>::reset(const GridDescription3<Coord>& grid)
{
    if (grid.size > _vectors.capacity()) _vectors.reserve(grid.size, false);
    _vectors.resize(grid.size);
    _grid = grid;
}

template <class Value, class Coord>
void Vector3Field3<Value, Coord>::reset(uint32 sizeX, uint32 sizeY, uint32 sizeZ, Coord separation)
{
    reset(GridDescription3<Coord>::centered(sizeX, sizeY, sizeZ, {separation, separation, separation}));
}

template <class Value, class Coord>
void Vector3Field3<Value, Coord>::reset_toZeroSize()
{
    _vectors.reserve(0);
    _grid = {};
}

template <class Value, class Coord>
Tuple2<bool, Vector3<Value>> Vector3Field3<Value, Coord>::evalSafe(const Vector3<Coord>& point) const
{
    detail::PointCell<Coord> cell;
    if (!detail::findCell(_grid, point, cell)) return {false, {0, 0, 0}};
    return {true, cell.interpolate([this](const Index3& node) { return get(node); })};
}

#define TX_INSTANTIATE(Value, Coord) template class Vector3Field3<Value, Coord>;
TX_INSTANTIATE(float, float)
TX_INSTANTIATE(float, double)
TX_INSTANTIATE(double, float)
TX_INSTANTIATE(double, double)
#undef TX_INSTANTIATE

}  // namespace tavrix
