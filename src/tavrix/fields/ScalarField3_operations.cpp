#include <algorithm>

#include <tavrix/fields/detail/PointCell.h>
#include <tavrix/fields/detail/SampleArithmetic.h>
#include <tavrix/fields/ScalarField3.h>

// Operations on whole fields over the sample array, for vectors; with a field of another storage they go the
// way of every storage.

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
        std::fill_n(min, lanes, detail::startOfMin<Value>);
        std::fill_n(max, lanes, detail::startOfMax<Value>);
    }

    void add(uint32 lane, Value v)
    {
        min[lane] = v < min[lane] ? v : min[lane];
        max[lane] = v > max[lane] ? v : max[lane];
    }
};

}  // namespace

template <class Value, class Coord>
void ScalarField3<Value, Coord>::add(Value v)
{
    for (Value& sample : _samples) sample = detail::sumOf(sample, v);
    setChanged();
}

template <class Value, class Coord>
void ScalarField3<Value, Coord>::multiply(Value factor)
{
    for (Value& sample : _samples) sample = detail::productOf(sample, factor);
    setChanged();
}

template <class Value, class Coord>
void ScalarField3<Value, Coord>::abs()
{
    for (Value& sample : _samples) sample = detail::magnitudeOf(sample);
    setChanged();
}

template <class Value, class Coord>
bool ScalarField3<Value, Coord>::add(const Base& other, Value factor)
{
    const Value* theirs = other.getDenseSamples();
    if (!theirs || other.size() != this->size()) return Base::add(other, factor);
    for (uint32 n = 0; n < _samples.size(); ++n)
        _samples[n] = detail::sumOf(detail::productOf(theirs[n], factor), _samples[n]);
    setChanged();
    return true;
}

template <class Value, class Coord>
bool ScalarField3<Value, Coord>::sub(const Base& other)
{
    const Value* theirs = other.getDenseSamples();
    if (!theirs || other.size() != this->size()) return Base::sub(other);
    for (uint32 n = 0; n < _samples.size(); ++n) _samples[n] = detail::differenceOf(_samples[n], theirs[n]);
    setChanged();
    return true;
}

template <class Value, class Coord>
bool ScalarField3<Value, Coord>::interpolate(const Base& a, const Base& b, double t)
{
    const Value *from = a.getDenseSamples(), *to = b.getDenseSamples();
    if (!from || !to || a.size() != this->size() || b.size() != this->size())
        return Base::interpolate(a, b, t);
    for (uint32 n = 0; n < _samples.size(); ++n) _samples[n] = detail::mixOf(from[n], to[n], t);
    setChanged();
    return true;
}

template <class Value, class Coord>
bool ScalarField3<Value, Coord>::copyScalars(const Base& other)
{
    if (other.size() != this->size()) return false;
    if (&other != this) other.copySamples(0, this->size(), _samples.data());
    setChanged();
    return true;
}

template <class Value, class Coord>
void ScalarField3<Value, Coord>::findMinMax(Value& min, Value& max) const
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
bool ScalarField3<Value, Coord>::doIHave_NaN() const
{
    return !std::all_of(_samples.begin(), _samples.end(), detail::isFiniteSample<Value>);
}

template <class Value, class Coord>
bool ScalarField3<Value, Coord>::addValueToBoxContainingPoint(const Vector3<Coord>& point, Value v)
{
    detail::PointCell<Coord> cell;
    if (!detail::findCell(_grid, point, cell)) return false;
    for (uint32 c = 0; c < 8; ++c)
    {
        const Index3 node = cell.corner(c);
        Value& sample = _samples[_grid.getMonoindex(node.a, node.b, node.c)];
        sample = detail::sumOf(sample, detail::shareOf(v, cell.weight[c] / cell.weightSum));
    }
    setChanged();
    return true;
}

#define TX_INSTANTIATE(Value, Coord)                                                         \
    template void ScalarField3<Value, Coord>::add(Value);                                    \
    template void ScalarField3<Value, Coord>::multiply(Value);                               \
    template void ScalarField3<Value, Coord>::abs();                                         \
    template bool ScalarField3<Value, Coord>::add(const Base&, Value);                       \
    template bool ScalarField3<Value, Coord>::sub(const Base&);                              \
    template bool ScalarField3<Value, Coord>::interpolate(const Base&, const Base&, double); \
    template bool ScalarField3<Value, Coord>::copyScalars(const Base&);                      \
    template void ScalarField3<Value, Coord>::findMinMax(Value&, Value&) const;              \
    template bool ScalarField3<Value, Coord>::doIHave_NaN() const;                           \
    template bool ScalarField3<Value, Coord>::addValueToBoxContainingPoint(const Vector3<Coord>&, Value);
TX_FOR_EACH_SCALAR_FIELD(TX_INSTANTIATE)
#undef TX_INSTANTIATE

}  // namespace tavrix
