#include <tavrix/fields/ScalarField2.h>

#include <tavrix/fields/detail/PlaneSamples.h>

namespace tavrix
{

template <class Value>
Tuple2<bool, Value> ScalarField2<Value>::evalSafe(const Vector2D& point) const
{
    if (!_grid.contains(point)) return {false, {}};
    return {true, evalClamped(point)};
}

template <class Value>
Value ScalarField2<Value>::evalClamped(const Vector2D& point) const
{
    return detail::interpolated<Value>(*this, _grid.getCell(point));
}

template class ScalarField2<float>;
template class ScalarField2<double>;

}  // namespace tavrix
