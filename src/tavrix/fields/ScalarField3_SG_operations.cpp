#include <algorithm>

#include <tavrix/fields/detail/BitwiseEqual.h>
#include <tavrix/fields/detail/SampleArithmetic.h>
#include <tavrix/fields/ScalarField3_SG.h>

namespace tavrix
{

template <class Value, class Coord>
void ScalarField3_SG<Value, Coord>::freeTiles()
{
    _tiles = {};
    std::fill(_table.begin(), _table.end(), noIndex);
}

/// The other field when it is tiled in the same way, and null otherwise.
template <class Value, class Coord>
const ScalarField3_SG<Value, Coord>* ScalarField3_SG<Value, Coord>::asSameTiles(const Base& other) const
{
    if (other.getType() != ScalarFieldType::Tiled) return nullptr;
    const auto& tiled = static_cast<const ScalarField3_SG&>(other);
    const GridDescription3<Coord>& grid = tiled._grid;
    const bool isSame = grid.sizeX == _grid.sizeX && grid.sizeY == _grid.sizeY && grid.sizeZ == _grid.sizeZ &&
                        tiled._tileGrid.edge == _tileGrid.edge;
    return isSame ? &tiled : nullptr;
}

/// Replaces every sample by map(sample). Values outside the grid are mapped as the default value is.
template <class Value, class Coord>
template <class Map>
void ScalarField3_SG<Value, Coord>::mapSamples(Map map)
{
    for (Tile* tile : _tiles)
        for (Value& sample : *tile) sample = map(sample);
    _defaultValue = map(_defaultValue);
    _flags |= Base::flagChanged;
}

/// Replaces every sample by combine(sample of a, sample of b), where either may be this field; false, and
/// nothing changed, unless both are tiled as this one is.
template <class Value, class Coord>
template <class Combine>
bool ScalarField3_SG<Value, Coord>::combineTiles(const Base& a, const Base& b, Combine combine)
{
    const ScalarField3_SG *fieldA = asSameTiles(a), *fieldB = asSameTiles(b);
    if (!fieldA || !fieldB) return false;
    Array<uint32> table(_table.size(), noIndex);
    ArrayOfPtr<Tile> tiles;
    for (uint32 t = 0; t < table.size(); ++t)
    {
        const Tile *ofA = fieldA->getTile(t), *ofB = fieldB->getTile(t);
        if (!ofA && !ofB) continue;
        Tile values(_tileGrid.valuesPerTile());
        for (uint32 n = 0; n < values.size(); ++n)
            values[n] =
                combine(ofA ? (*ofA)[n] : fieldA->_defaultValue, ofB ? (*ofB)[n] : fieldB->_defaultValue);
        tiles.push_back(new Tile(std::move(values)));
        table[t] = tiles.size() - 1;
    }
    _defaultValue = combine(fieldA->_defaultValue, fieldB->_defaultValue);
    _table = std::move(table);
    _tiles = std::move(tiles);
    _flags |= Base::flagChanged;
    return true;
}

/// Calls visit(samples, count) for the rows along z of the nodes that belong to stored tiles.
template <class Value, class Coord>
template <class Visit>
void ScalarField3_SG<Value, Coord>::forEachStoredRow(Visit visit) const
{
    for (uint32 t = 0; t < _table.size(); ++t)
    {
        const Tile* values = getTile(t);
        if (!values) continue;
        const Index3 tile = _tileGrid.tiles.getIndexes(t);
        Index3 count;
        for (uint32 axis = 0; axis < 3; ++axis)
            count[axis] = std::min(_tileGrid.step(), _grid.sizeAlong(axis) - tile[axis] * _tileGrid.step());
        for (uint32 i = 0; i < count.a; ++i)
            for (uint32 j = 0; j < count.b; ++j) visit(values->data() + _tileGrid.valueAt(i, j, 0), count.c);
    }
}

template <class Value, class Coord>
void ScalarField3_SG<Value, Coord>::setDefaultValue(Value value)
{
    freeTiles();
    _defaultValue = value;
    _flags |= Base::flagChanged;
}

template <class Value, class Coord>
void ScalarField3_SG<Value, Coord>::add(Value v)
{
    mapSamples([v](Value sample) { return detail::sumOf(sample, v); });
}

template <class Value, class Coord>
void ScalarField3_SG<Value, Coord>::multiply(Value factor)
{
    mapSamples([factor](Value sample) { return detail::productOf(sample, factor); });
}

template <class Value, class Coord>
void ScalarField3_SG<Value, Coord>::abs()
{
    mapSamples([](Value sample) { return detail::magnitudeOf(sample); });
}

template <class Value, class Coord>
bool ScalarField3_SG<Value, Coord>::add(const Base& other, Value factor)
{
    return combineTiles(*this, other,
                        [factor](Value mine, Value theirs)
                        { return detail::sumOf(detail::productOf(theirs, factor), mine); }) ||
           Base::add(other, factor);
}

template <class Value, class Coord>
bool ScalarField3_SG<Value, Coord>::sub(const Base& other)
{
    return combineTiles(*this, other,
                        [](Value mine, Value theirs) { return detail::differenceOf(mine, theirs); }) ||
           Base::sub(other);
}

template <class Value, class Coord>
bool ScalarField3_SG<Value, Coord>::interpolate(const Base& a, const Base& b, double t)
{
    return combineTiles(a, b, [t](Value from, Value to) { return detail::mixOf(from, to, t); }) ||
           Base::interpolate(a, b, t);
}

template <class Value, class Coord>
void ScalarField3_SG<Value, Coord>::findMinMax(Value& min, Value& max) const
{
    Value low = detail::startOfMin<Value>, high = detail::startOfMax<Value>;
    const auto take = [&](const Value* samples, uint32 count)
    {
        for (uint32 n = 0; n < count; ++n)
        {
            low = samples[n] < low ? samples[n] : low;
            high = samples[n] > high ? samples[n] : high;
        }
    };
    forEachStoredRow(take);
    if (_tiles.size() < _table.size()) take(&_defaultValue, 1);
    min = low;
    max = high;
}

template <class Value, class Coord>
bool ScalarField3_SG<Value, Coord>::doIHave_NaN() const
{
    bool found = _tiles.size() < _table.size() && !detail::isFiniteSample(_defaultValue);
    forEachStoredRow(
        [&](const Value* samples, uint32 count)
        { found = found || !std::all_of(samples, samples + count, detail::isFiniteSample<Value>); });
    return found;
}

template <class Value, class Coord>
bool ScalarField3_SG<Value, Coord>::copyScalars(const Base& other)
{
    if (other.size() != this->size()) return false;
    if (&other == this || combineTiles(other, other, [](Value v, Value) { return v; })) return true;
    if (other.getType() == ScalarFieldType::Tiled) _defaultValue = other.getDefaultValue();
    freeTiles();
    Tile values(_tileGrid.valuesPerTile());
    for (uint32 t = 0; t < _table.size(); ++t)
    {
        std::fill(values.begin(), values.end(), _defaultValue);
        const Index3 tile = _tileGrid.tiles.getIndexes(t);
        Index3 low, high;
        for (uint32 axis = 0; axis < 3; ++axis)
        {
            low[axis] = tile[axis] * _tileGrid.step();
            high[axis] = low[axis] + std::min(_tileGrid.edge, _grid.sizeAlong(axis) - low[axis]);
        }
        for (uint32 i = low.a; i < high.a; ++i)
            for (uint32 j = low.b; j < high.b; ++j)
            {
                other.copySamples(_grid.getMonoindex(i, j, low.c), high.c - low.c,
                                  values.data() + _tileGrid.valueAt(i - low.a, j - low.b, 0));
            }
        const auto isDefault = [this](Value v) { return detail::bitwiseEqual(v, _defaultValue); };
        if (!std::all_of(values.begin(), values.end(), isDefault)) setTile(t, Tile(values));
    }
    _flags |= Base::flagChanged;
    return true;
}

#define TX_INSTANTIATE(Value, Coord)                                                                      \
    template const ScalarField3_SG<Value, Coord>* ScalarField3_SG<Value, Coord>::asSameTiles(const Base&) \
        const;                                                                                            \
    template void ScalarField3_SG<Value, Coord>::freeTiles();                                             \
    template void ScalarField3_SG<Value, Coord>::setDefaultValue(Value);                                  \
    template void ScalarField3_SG<Value, Coord>::add(Value);                                              \
    template void ScalarField3_SG<Value, Coord>::multiply(Value);                                         \
    template void ScalarField3_SG<Value, Coord>::abs();                                                   \
    template bool ScalarField3_SG<Value, Coord>::add(const Base&, Value);                                 \
    template bool ScalarField3_SG<Value, Coord>::sub(const Base&);                                        \
    template bool ScalarField3_SG<Value, Coord>::interpolate(const Base&, const Base&, double);           \
    template bool ScalarField3_SG<Value, Coord>::copyScalars(const Base&);                                \
    template void ScalarField3_SG<Value, Coord>::findMinMax(Value&, Value&) const;                        \
    template bool ScalarField3_SG<Value, Coord>::doIHave_NaN() const;
TX_FOR_EACH_SCALAR_FIELD(TX_INSTANTIATE)
#undef TX_INSTANTIATE

}  // namespace tavrix
