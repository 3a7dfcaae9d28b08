#include <algorithm>
#include <cmath>

#include <tavrix/fields/detail/PointCell.h>
#include <tavrix/fields/ScalarField3.h>

namespace tavrix
{

namespace
{

/// The extremes of numbers, eight interleaved searches at a time so that they run in vectors.
template <class Value>
struct Extremes
{
    static constexpr uint32 lanes = 8;
    Value min[lanes], max[lanes];

    Extremes()
    {
        std::fill_n(min, lanes, Value(farValue));
        std::fill_n(max, lanes, Value(-farValue));
    }

    void add(uint32 lane, Value v)
    {
        min[lane] = v < min[lane] ? v : min[lane];
        max[lane] = v > max[lane] ? v : max[lane];
    }
};

}  // namespace

template <class Value, class Coord>
void ScalarField3<Value, Coord>::add(const ScalarField3& other,
                                     Value factor) requires std::floating_point<Value>
{
    const uint32 count = std::min(_samples.size(), other._samples.size());
    for (uint32 n = 0; n < count; ++n) _samples[n] = other._samples[n] * factor + _samples[n];
    _flags |= Base::flagChanged;
}

template <class Value, class Coord>
void ScalarField3<Value, Coord>::sub(const ScalarField3& other) requires std::floating_point<Value>
{
    const uint32 count = std::min(_samples.size(), other._samples.size());
    for (uint32 n = 0; n < count; ++n) _samples[n] = _samples[n] - other._samples[n];
    _flags |= Base::flagChanged;
}

template <class Value, class Coord>
void ScalarField3<Value, Coord>::multiply(Value factor) requires std::floating_point<Value>
{
    for (Value& sample : _samples) sample *= factor;
    _flags |= Base::flagChanged;
}

template <class Value, class Coord>
void ScalarField3<Value, Coord>::abs() requires std::floating_point<Value>
{
    for (Value& sample : _samples) sample = std::fabs(sample);
    _flags |= Base::flagChanged;
}

template <class Value, class Coord>
void ScalarField3<Value, Coord>::findMinMax(Value& min, Value& max) const requires std::floating_point<Value>
{
    Extremes<Value> found;
    const uint32 grouped = _samples.size() / found.lanes * found.lanes;
    for (uint32 n = 0; n < grouped; n += found.lanes)
        for (uint32 lane = 0; lane < found.lanes; ++lane) found.add(lane, _samples[n + lane]);
    for (uint32 n = grouped; n < _samples.size(); ++n) found.add(0, _samples[n]);
    min = *std::min_element(found.min, found.min + found.lanes);
    max = *std::max_element(found.max, found.max + found.lanes);
}

template <class Value, class Coord>
void ScalarField3<Value, Coord>::findMinMaxAvg(Value& min, Value& max,
                                               Value& avg) const requires std::floating_point<Value>
{
    findMinMax(min, max);
    Value sum = 0;
    for (const Value sample : _samples) sum += sample;
    avg = _samples.empty() ? Value(0) : sum / static_cast<Value>(_samples.size());
}

template <class Value, class Coord>
bool ScalarField3<Value, Coord>::doIHave_NaN() const requires std::floating_point<Value>
{
    return std::any_of(_samples.begin(), _samples.end(), [](Value v) { return !std::isfinite(v); });
}

template <class Value, class Coord>
bool ScalarField3<Value, Coord>::addValueToBoxContainingPoint(const Vector3<Coord>& point,
                                                              Value v) requires std::floating_point<Value>
{
    detail::PointCell<Coord> cell;
    if (!detail::findCell(_grid, point, cell)) return false;
    for (uint32 c = 0; c < 8; ++c)
    {
        const Index3 node = cell.corner(c);
        add(node.a, node.b, node.c, v * static_cast<Value>(cell.weight[c] / cell.weightSum));
    }
    _flags |= Base::flagChanged;
    return true;
}

#define TX_INSTANTIATE(Value, Coord)                                                       \
    template void ScalarField3<Value, Coord>::add(const ScalarField3&, Value);             \
    template void ScalarField3<Value, Coord>::sub(const ScalarField3&);                    \
    template void ScalarField3<Value, Coord>::multiply(Value);                             \
    template void ScalarField3<Value, Coord>::abs();                                       \
    template void ScalarField3<Value, Coord>::findMinMax(Value&, Value&) const;            \
    template void ScalarField3<Value, Coord>::findMinMaxAvg(Value&, Value&, Value&) const; \
    template bool ScalarField3<Value, Coord>::doIHave_NaN() const;                         \
    template bool ScalarField3<Value, Coord>::addValueToBoxContainingPoint(const Vector3<Coord>&, Value);
TX_FOR_EACH_REAL_SCALAR_FIELD(TX_INSTANTIATE)
#undef TX_INSTANTIATE

}  // namespace tavrix
