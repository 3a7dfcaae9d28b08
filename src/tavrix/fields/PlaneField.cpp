#include <tavrix/fields/PlaneField.h>

#include <tavrix/fields/detail/PlaneSamples.h>

namespace tavrix
{

template <class Value, class SampleType>
Tuple2<bool, SampleType> PlaneField<Value, SampleType>::evalSafe(const Vector2D& point) const
{
    if (!_grid.contains(point)) return {false, {}};
    return {true, evalClamped(point)};
}

template <class Value, class SampleType>
SampleType PlaneField<Value, SampleType>::evalClamped(const Vector2D& point) const
{
    return detail::interpolated<Value>(*this, _grid.getCell(point));
}

template class PlaneField<float, float>;
template class PlaneField<double, double>;
template class PlaneField<float, Vector2<float>>;
template class PlaneField<double, Vector2<double>>;

}  // namespace tavrix
