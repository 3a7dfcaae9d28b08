#include <algorithm>
#include <cmath>
#include <stdexcept>

#include <tavrix/fields/detail/Mix.h>
#include <tavrix/fields/detail/PointCell.h>
#include <tavrix/fields/detail/SameBits.h>
#include <tavrix/fields/ScalarField3_SG.h>

namespace tavrix
{

template <class Value, class Coord>
void ScalarField3_SG<Value, Coord>::freeTiles()
{
    _tiles = {};
    std::fill(_table.begin(), _table.end(), noIndex);
}

template <class Value, class Coord>
bool ScalarField3_SG<Value, Coord>::hasSameTiles(const ScalarField3_SG& other) const
{
    const GridDescription3<Coord>& grid = other._grid;
    return grid.sizeX == _grid.sizeX && grid.sizeY == _grid.sizeY && grid.sizeZ == _grid.sizeZ &&
           other._tileGrid.edge == _tileGrid.edge;
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

/// Replaces every sample by combine(sample of a, sample of b), where either may be this field.
template <class Value, class Coord>
template <class Combine>
void ScalarField3_SG<Value, Coord>::combineSamples(const ScalarField3_SG& a, const ScalarField3_SG& b,
                                                   Combine combine)
{
    if (!hasSameTiles(a) || !hasSameTiles(b))
        throw std::invalid_argument("tavrix: tiled fields of different sizes or tile edges");
    Array<uint32> table(_table.size(), noIndex);
    ArrayOfPtr<Tile> tiles;
    for (uint32 t = 0; t < table.size(); ++t)
    {
        const Tile *ofA = a.getTile(t), *ofB = b.getTile(t);
        if (!ofA && !ofB) continue;
        Tile values(_tileGrid.valuesPerTile());
        for (uint32 n = 0; n < values.size(); ++n)
            values[n] = combine(ofA ? (*ofA)[n] : a._defaultValue, ofB ? (*ofB)[n] : b._defaultValue);
        tiles.push_back(new Tile(std::move(values)));
        table[t] = tiles.size() - 1;
    }
    _defaultValue = combine(a._defaultValue, b._defaultValue);
    _table = std::move(table);
    _tiles = std::move(tiles);
    _flags |= Base::flagChanged;
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
    mapSamples([v](Value sample) { return static_cast<Value>(sample + v); });
}

template <class Value, class Coord>
void ScalarField3_SG<Value, Coord>::interpolate(const ScalarField3_SG& a, const ScalarField3_SG& b, double t)
{
    combineSamples(a, b, detail::Mix<Value>(t));
}

template <class Value, class Coord>
void ScalarField3_SG<Value, Coord>::add(const ScalarField3_SG& other,
                                        Value factor) requires std::floating_point<Value>
{
    combineSamples(*this, other, [factor](Value mine, Value theirs) { return theirs * factor + mine; });
}

template <class Value, class Coord>
void ScalarField3_SG<Value, Coord>::sub(const ScalarField3_SG& other) requires std::floating_point<Value>
{
    combineSamples(*this, other, [](Value mine, Value theirs) { return mine - theirs; });
}

template <class Value, class Coord>
void ScalarField3_SG<Value, Coord>::multiply(Value factor) requires std::floating_point<Value>
{
    mapSamples([factor](Value sample) { return sample * factor; });
}

template <class Value, class Coord>
void ScalarField3_SG<Value, Coord>::abs() requires std::floating_point<Value>
{
    mapSamples([](Value sample) { return std::fabs(sample); });
}

template <class Value, class Coord>
void ScalarField3_SG<Value, Coord>::findMinMax(Value& min,
                                               Value& max) const requires std::floating_point<Value>
{
    Value low = farValue, high = -farValue;
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
void ScalarField3_SG<Value, Coord>::findMinMaxAvg(Value& min, Value& max,
                                                  Value& avg) const requires std::floating_point<Value>
{
    findMinMax(min, max);
    Value sum = 0;  // in monoindex order, as rounding depends on it
    Array<Value> row(_grid.sizeZ);
    for (uint32 first = 0; first != _grid.size; first += _grid.sizeZ)
    {
        copySamples(first, _grid.sizeZ, row.data());
        for (const Value sample : row) sum += sample;
    }
    avg = _grid.size == 0 ? Value(0) : sum / static_cast<Value>(_grid.size);
}

template <class Value, class Coord>
bool ScalarField3_SG<Value, Coord>::doIHave_NaN() const requires std::floating_point<Value>
{
    bool found = _tiles.size() < _table.size() && !std::isfinite(_defaultValue);
    forEachStoredRow(
        [&](const Value* samples, uint32 count) {
            found = found || !std::all_of(samples, samples + count, [](Value v) { return std::isfinite(v); });
        });
    return found;
}

template <class Value, class Coord>
bool ScalarField3_SG<Value, Coord>::addValueToBoxContainingPoint(const Vector3<Coord>& point,
                                                                 Value v) requires std::floating_point<Value>
{
    detail::PointCell<Coord> cell;
    if (!detail::findCell(_grid, point, cell)) return false;
    for (uint32 c = 0; c < 8; ++c)
    {
        const Index3 node = cell.corner(c);
        add(node.a, node.b, node.c, v * static_cast<Value>(cell.weight[c] / cell.weightSum));
    }
    return true;
}

template <class Value, class Coord>
void ScalarField3_SG<Value, Coord>::copyScalars(const Base& other)
{
    if (&other == this) return;
    if (other.getType() == ScalarFieldType::Tiled)
    {
        const auto& tiled = static_cast<const ScalarField3_SG&>(other);
        if (hasSameTiles(tiled)) return combineSamples(tiled, tiled, [](Value v, Value) { return v; });
        _defaultValue = tiled._defaultValue;
    }
    freeTiles();
    const uint32 count = std::min(this->size(), other.size());
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
                const uint32 first = _grid.getMonoindex(i, j, low.c);
                if (first < count)
                    other.copySamples(first, std::min(high.c - low.c, count - first),
                                      values.data() + _tileGrid.valueAt(i - low.a, j - low.b, 0));
            }
        const auto isDefault = [this](Value v) { return detail::sameBits(v, _defaultValue); };
        if (!std::all_of(values.begin(), values.end(), isDefault)) setTile(t, Tile(values));
    }
    _flags |= Base::flagChanged;
}

#define TX_INSTANTIATE(Value, Coord)                                                                         \
    template void ScalarField3_SG<Value, Coord>::freeTiles();                                                \
    template bool ScalarField3_SG<Value, Coord>::hasSameTiles(const ScalarField3_SG&) const;                 \
    template void ScalarField3_SG<Value, Coord>::setDefaultValue(Value);                                     \
    template void ScalarField3_SG<Value, Coord>::add(Value);                                                 \
    template void ScalarField3_SG<Value, Coord>::interpolate(const ScalarField3_SG&, const ScalarField3_SG&, \
                                                             double);                                        \
    template void ScalarField3_SG<Value, Coord>::copyScalars(const ScalarField3_base<Value, Coord>&);
TX_FOR_EACH_SCALAR_FIELD(TX_INSTANTIATE)
#undef TX_INSTANTIATE

#define TX_INSTANTIATE(Value, Coord)                                                          \
    template void ScalarField3_SG<Value, Coord>::add(const ScalarField3_SG&, Value);          \
    template void ScalarField3_SG<Value, Coord>::sub(const ScalarField3_SG&);                 \
    template void ScalarField3_SG<Value, Coord>::multiply(Value);                             \
    template void ScalarField3_SG<Value, Coord>::abs();                                       \
    template void ScalarField3_SG<Value, Coord>::findMinMax(Value&, Value&) const;            \
    template void ScalarField3_SG<Value, Coord>::findMinMaxAvg(Value&, Value&, Value&) const; \
    template bool ScalarField3_SG<Value, Coord>::doIHave_NaN() const;                         \
    template bool ScalarField3_SG<Value, Coord>::addValueToBoxContainingPoint(const Vector3<Coord>&, Value);
TX_FOR_EACH_REAL_SCALAR_FIELD(TX_INSTANTIATE)
#undef TX_INSTANTIATE

}  // namespace tavrix
