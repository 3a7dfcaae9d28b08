#include <tavrix/fields/Vector2Field2.h>

#include <tavrix/fields/detail/PlaneSamples.h>

namespace tavrix
{

template <class Value>
Tuple2<bool, Vector2<Value>> Vector2Field2<Value>::evalSafe(const Vector2D& point) const
{
    if (!_grid.contains(point)) return {false, {}};
    return {true, evalClamped(point)};
}

template <class Value>
Vector2<Value> Vector2Field2<Value>::evalClamped(const Vector2D& point) const
{
    return detail::interpolated<Value>(*this, _grid.getCell(point));
}

template class Vector2Field2<float>;
template class Vector2Field2<double>;

}  // namespace tavrix
