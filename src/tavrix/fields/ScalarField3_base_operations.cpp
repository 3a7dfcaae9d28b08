#include <algorithm>

#include <tavrix/fields/detail/PointCell.h>
#include <tavrix/fields/detail/SampleArithmetic.h>
#include <tavrix/fields/ScalarField3_base.h>
#include <tavrix/foundation/detail/Signature.h>

// Operations on whole fields of any storage, through copySamples and set.

namespace tavrix
{

namespace
{

/// Samples handled at a time.
constexpr uint32 runLength = 4096;

/// Calls visit(first, samples, count) for runs of samples in monoindex order.
template <class Value, class Coord, class Visit>
void forEachRun(const ScalarField3_base<Value, Coord>& field, Visit visit)
{
    Array<Value> run(std::min(runLength, field.size()));
    for (uint32 first = 0, count; first < field.size(); first += count)
    {
        count = std::min(runLength, field.size() - first);
        field.copySamples(first, count, run.data());
        visit(first, run.data(), count);
    }
}

/// Replaces every sample by map(sample).
template <class Value, class Coord, class Map>
void mapSamples(ScalarField3_base<Value, Coord>& field, Map map)
{
    forEachRun(field,
               [&](uint32 first, const Value* samples, uint32 count)
               {
                   for (uint32 n = 0; n < count; ++n) field.set(first + n, map(samples[n]));
               });
}

/// Replaces every sample by combine(sample of a, sample of b), where either may be the field; false, and
/// nothing changed, when their counts differ.
template <class Value, class Coord, class Combine>
bool combineSamples(ScalarField3_base<Value, Coord>& field, const ScalarField3_base<Value, Coord>& a,
                    const ScalarField3_base<Value, Coord>& b, Combine combine)
{
    if (a.size() != field.size() || b.size() != field.size()) return false;
    Array<Value> ofB(std::min(runLength, field.size()));
    forEachRun(a,
               [&](uint32 first, const Value* ofA, uint32 count)
               {
                   b.copySamples(first, count, ofB.data());
                   for (uint32 n = 0; n < count; ++n) field.set(first + n, combine(ofA[n], ofB[n]));
               });
    return true;
}

}  // namespace

template <class Value, class Coord>
void ScalarField3_base<Value, Coord>::copySamples(uint32 first, uint32 count, Value* out) const
{
    if (const Value* samples = getDenseSamples())
        std::copy_n(samples + first, count, out);
    else
        for (uint32 n = 0; n < count; ++n) out[n] = get(first + n);
}

template <class Value, class Coord>
void ScalarField3_base<Value, Coord>::set(Value value)
{
    mapSamples(*this, [value](Value) { return value; });
}

template <class Value, class Coord>
void ScalarField3_base<Value, Coord>::add(uint32 i, uint32 j, uint32 k, Value v)
{
    const Index3 node{i, j, k};
    set(node, detail::sumOf(get(node), v));
}

template <class Value, class Coord>
Value ScalarField3_base<Value, Coord>::inc(uint32 i, uint32 j, uint32 k)
{
    add(i, j, k, Value(1));
    return get(i, j, k);
}

template <class Value, class Coord>
Value ScalarField3_base<Value, Coord>::dec(uint32 i, uint32 j, uint32 k)
{
    add(i, j, k, static_cast<Value>(-1));
    return get(i, j, k);
}

template <class Value, class Coord>
bool ScalarField3_base<Value, Coord>::addValueToBoxContainingPoint(const Vector3<Coord>& point, Value v)
{
    detail::PointCell<Coord> cell;
    if (!detail::findCell(_grid, point, cell)) return false;
    for (uint32 c = 0; c < 8; ++c)
    {
        const Index3 node = cell.corner(c);
        add(node.a, node.b, node.c, detail::shareOf(v, cell.weight[c] / cell.weightSum));
    }
    return true;
}

template <class Value, class Coord>
void ScalarField3_base<Value, Coord>::add(Value v)
{
    mapSamples(*this, [v](Value sample) { return detail::sumOf(sample, v); });
}

template <class Value, class Coord>
void ScalarField3_base<Value, Coord>::multiply(Value factor)
{
    mapSamples(*this, [factor](Value sample) { return detail::productOf(sample, factor); });
}

template <class Value, class Coord>
void ScalarField3_base<Value, Coord>::abs()
{
    mapSamples(*this, [](Value sample) { return detail::magnitudeOf(sample); });
}

template <class Value, class Coord>
bool ScalarField3_base<Value, Coord>::add(const ScalarField3_base& other, Value factor)
{
    return combineSamples(*this, *this, other,
                          [factor](Value mine, Value theirs)
                          { return detail::sumOf(detail::productOf(theirs, factor), mine); });
}

template <class Value, class Coord>
bool ScalarField3_base<Value, Coord>::sub(const ScalarField3_base& other)
{
    return combineSamples(*this, *this, other,
                          [](Value mine, Value theirs) { return detail::differenceOf(mine, theirs); });
}

template <class Value, class Coord>
bool ScalarField3_base<Value, Coord>::interpolate(const ScalarField3_base& a, const ScalarField3_base& b,
                                                  double t)
{
    return combineSamples(*this, a, b, [t](Value from, Value to) { return detail::mixOf(from, to, t); });
}

template <class Value, class Coord>
bool ScalarField3_base<Value, Coord>::copyScalars(const ScalarField3_base& other)
{
    return combineSamples(*this, other, other, [](Value theirs, Value) { return theirs; });
}

template <class Value, class Coord>
void ScalarField3_base<Value, Coord>::findMinMax(Value& min, Value& max) const
{
    Value low = detail::startOfMin<Value>, high = detail::startOfMax<Value>;
    forEachRun(*this,
               [&](uint32, const Value* samples, uint32 count)
               {
                   for (uint32 n = 0; n < count; ++n)
                   {
                       low = samples[n] < low ? samples[n] : low;
                       high = samples[n] > high ? samples[n] : high;
                   }
               });
    min = low;
    max = high;
}

template <class Value, class Coord>
void ScalarField3_base<Value, Coord>::findMinMaxAvg(Value& min, Value& max, Value& avg) const
{
    findMinMax(min, max);
    detail::SampleSum<Value> sum = 0;
    forEachRun(*this,
               [&](uint32, const Value* samples, uint32 count)
               {
                   for (uint32 n = 0; n < count; ++n) sum += samples[n];
               });
    avg = size() == 0 ? Value(0) : static_cast<Value>(sum / static_cast<detail::SampleSum<Value>>(size()));
}

template <class Value, class Coord>
bool ScalarField3_base<Value, Coord>::doIHave_NaN() const
{
    bool found = false;
    forEachRun(*this, [&](uint32, const Value* samples, uint32 count)
               { found = found || !std::all_of(samples, samples + count, detail::isFiniteSample<Value>); });
    return found;
}

namespace
{

template <class Value, class Coord>
detail::Signature signatureOf(const ScalarField3_base<Value, Coord>& field)
{
    detail::Signature signature;
    if (const Value* samples = field.getDenseSamples())
        signature.add(samples, std::size_t{field.size()} * sizeof(Value));
    else
        forEachRun(field, [&](uint32, const Value* samples, uint32 count)
                   { signature.add(samples, std::size_t{count} * sizeof(Value)); });
    return signature;
}

}  // namespace

template <class Value, class Coord>
uint64 ScalarField3_base<Value, Coord>::computeSignature_v1() const
{
    return signatureOf(*this).value();
}

template <class Value, class Coord>
uint64 ScalarField3_base<Value, Coord>::computeSignature_v2() const
{
    detail::Signature signature = signatureOf(*this);
    signature.addValue(Index3{_grid.sizeX, _grid.sizeY, _grid.sizeZ});
    return signature.value();
}

template <class Value, class Coord>
uint64 ScalarField3_base<Value, Coord>::computeSignature_v3() const
{
    detail::Signature signature = signatureOf(*this);
    signature.addValue(Index3{_grid.sizeX, _grid.sizeY, _grid.sizeZ});
    signature.addValue(_grid.box);
    signature.addValue(_grid.separation);
    signature.addValue(getDefaultValue());
    return signature.value();
}

#define TX_INSTANTIATE(Value, Coord)                                                                   \
    template void ScalarField3_base<Value, Coord>::copySamples(uint32, uint32, Value*) const;          \
    template void ScalarField3_base<Value, Coord>::set(Value);                                         \
    template void ScalarField3_base<Value, Coord>::add(uint32, uint32, uint32, Value);                 \
    template Value ScalarField3_base<Value, Coord>::inc(uint32, uint32, uint32);                       \
    template Value ScalarField3_base<Value, Coord>::dec(uint32, uint32, uint32);                       \
    template bool ScalarField3_base<Value, Coord>::addValueToBoxContainingPoint(const Vector3<Coord>&, \
                                                                                Value);                \
    template void ScalarField3_base<Value, Coord>::add(Value);                                         \
    template void ScalarField3_base<Value, Coord>::multiply(Value);                                    \
    template void ScalarField3_base<Value, Coord>::abs();                                              \
    template bool ScalarField3_base<Value, Coord>::add(const ScalarField3_base&, Value);               \
    template bool ScalarField3_base<Value, Coord>::sub(const ScalarField3_base&);                      \
    template bool ScalarField3_base<Value, Coord>::interpolate(const ScalarField3_base&,               \
                                                               const ScalarField3_base&, double);      \
    template bool ScalarField3_base<Value, Coord>::copyScalars(const ScalarField3_base&);              \
    template void ScalarField3_base<Value, Coord>::findMinMax(Value&, Value&) const;                   \
    template void ScalarField3_base<Value, Coord>::findMinMaxAvg(Value&, Value&, Value&) const;        \
    template bool ScalarField3_base<Value, Coord>::doIHave_NaN() const;                                \
    template uint64 ScalarField3_base<Value, Coord>::computeSignature_v1() const;                      \
    template uint64 ScalarField3_base<Value, Coord>::computeSignature_v2() const;                      \
    template uint64 ScalarField3_base<Value, Coord>::computeSignature_v3() const;
TX_FOR_EACH_SCALAR_FIELD(TX_INSTANTIATE)
#undef TX_INSTANTIATE

}  // namespace tavrix
