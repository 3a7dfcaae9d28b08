#include <array>

#include <tavrix/fields/detail/NodeSamples.h>
#include <tavrix/fields/detail/PointCell.h>
#include <tavrix/fields/ScalarField3_base.h>

namespace tavrix
{

namespace
{

/// Trilinear value at the point, unless a node of its cell is refused.
template <class Value, class Coord, class Refuse>
Tuple2<bool, Value> evaluate(const ScalarField3_base<Value, Coord>& field, const Vector3<Coord>& point,
                             Refuse refuse)
{
    detail::PointCell<Coord> cell;
    if (!detail::findCell(field.getGrid(), point, cell)) return {false, failedValue<Value>};
    return detail::withSamples(field,
                               [&](const auto& samples) -> Tuple2<bool, Value>
                               {
                                   bool refused = false;
                                   const Value value = cell.interpolate(
                                       [&](const Index3& node)
                                       {
                                           const Value v = samples(node.a, node.b, node.c);
                                           refused |= refuse(v);
                                           return v;
                                       });
                                   if (refused) return {false, failedValue<Value>};
                                   return {true, value};
                               });
}

}  // namespace

template <class Value, class Coord>
Tuple2<bool, Value> ScalarField3_base<Value, Coord>::evalSafe(const Vector3<Coord>& point,
                                                              ScalarFieldEvalMode) const
{
    return evaluate(*this, point, [](Value) { return false; });
}

template <class Value, class Coord>
Tuple2<bool, Value> ScalarField3_base<Value, Coord>::evalSafe_useLessThanThreshold(
    const Vector3<Coord>& point, Value threshold, ScalarFieldEvalMode) const
{
    return evaluate(*this, point, [threshold](Value v) { return v < threshold; });
}

template <class Value, class Coord>
Tuple2<bool, Value> ScalarField3_base<Value, Coord>::evalSafe_useGreaterThanThreshold(
    const Vector3<Coord>& point, Value threshold, ScalarFieldEvalMode) const
{
    return evaluate(*this, point, [threshold](Value v) { return v > threshold; });
}

template <class Value, class Coord>
bool ScalarField3_base<Value, Coord>::eval(const Vector3<Coord>& point, Value& out) const
{
    const auto [found, value] = evalSafe(point);
    out = value;
    return found;
}

#define TX_INSTANTIATE(Value, Coord)                                                                   \
    template Tuple2<bool, Value> ScalarField3_base<Value, Coord>::evalSafe(const Vector3<Coord>&,      \
                                                                           ScalarFieldEvalMode) const; \
    template Tuple2<bool, Value> ScalarField3_base<Value, Coord>::evalSafe_useLessThanThreshold(       \
        const Vector3<Coord>&, Value, ScalarFieldEvalMode) const;                                      \
    template Tuple2<bool, Value> ScalarField3_base<Value, Coord>::evalSafe_useGreaterThanThreshold(    \
        const Vector3<Coord>&, Value, ScalarFieldEvalMode) const;                                      \
    template bool ScalarField3_base<Value, Coord>::eval(const Vector3<Coord>&, Value&) const;
TX_FOR_EACH_SCALAR_FIELD(TX_INSTANTIATE)
#undef TX_INSTANTIATE

}  // namespace tavrix
