#include <tavrix/fields/ScalarField3_SG.h>

#include <algorithm>
#include <memory>

#include <tavrix/fields/detail/BitwiseEqual.h>
#include <tavrix/fields/detail/ParticleChange.h>
#include <tavrix/fields/detail/SampleArithmetic.h>
#include <tavrix/fields/detail/TileTable.h>
#include <tavrix/platform/Hardware.h>

namespace tavrix
{

namespace
{

/// A table of up to so many tiles, 256 MiB, is made without asking the system for the memory that it has.
constexpr uint32 tilesOfSmallTable = 1u << 26;

/// The monoindex of the tile at an offset from another; noIndex outside the grid of tiles.
template <class Coord>
uint32 tileAt(const GridDescription3<Coord>& tiles, const Index3& tile,
              const Tuple3<int32, int32, int32>& offset)
{
    Index3 at;
    for (uint32 axis = 0; axis < 3; ++axis)
    {
        const int64 index = int64{tile[axis]} + offset[axis];
        if (index < 0 || index >= tiles.sizeAlong(axis)) return noIndex;
        at[axis] = static_cast<uint32>(index);
    }
    return tiles.getMonoindex(at.a, at.b, at.c);
}

/// Calls visit(offset) for every non-empty set of the axes on which the local index is 0, with -1 on these.
template <class Visit>
void forEachTileBefore(const Index3& local, Visit visit)
{
    constexpr uint32 setsOfAxes[] = {1, 2, 4, 3, 5, 6, 7};
    uint32 axes = 0;
    for (uint32 axis = 0; axis < 3; ++axis)
        if (local[axis] == 0) axes |= 1u << axis;
    for (const uint32 set : setsOfAxes)
        if ((set & ~axes) == 0) visit({set & 1 ? -1 : 0, set & 2 ? -1 : 0, set & 4 ? -1 : 0});
}

}  // namespace

template <class Value, class Coord>
ScalarField3_SG<Value, Coord>::ScalarField3_SG() : Base(ScalarFieldType::Tiled)
{
}

template <class Value, class Coord>
ScalarField3_SG<Value, Coord>::ScalarField3_SG(const ScalarField3_SG& other)
    : Base(other), _tileGrid(other._tileGrid), _table(other._table), _defaultValue(other._defaultValue)
{
    for (const Tile* tile : other._tiles) _tiles.push_back(new Tile(*tile));
}

template <class Value, class Coord>
ScalarField3_SG<Value, Coord>& ScalarField3_SG<Value, Coord>::operator=(const ScalarField3_SG& other)
{
    if (this == &other) return *this;
    ScalarField3_SG copy(other);
    Base::operator=(other);
    _tileGrid = copy._tileGrid;
    _table = std::move(copy._table);
    _tiles = std::move(copy._tiles);
    _defaultValue = copy._defaultValue;
    return *this;
}

template <class Value, class Coord>
ScalarField3_SG<Value, Coord>::~ScalarField3_SG() = default;

template <class Value, class Coord>
void ScalarField3_SG<Value, Coord>::reset(uint32 sizeX, uint32 sizeY, uint32 sizeZ, Coord separation,
                                          uint32 tileEdge)
{
    reset(sizeX, sizeY, sizeZ, Vector3<Coord>{separation, separation, separation}, tileEdge);
}

template <class Value, class Coord>
void ScalarField3_SG<Value, Coord>::reset(uint32 sizeX, uint32 sizeY, uint32 sizeZ,
                                          const Vector3<Coord>& separation, uint32 tileEdge)
{
    tileEdge = std::max(tileEdge, 2u);
    GridDescription3<Coord>::nodeCount(tileEdge, tileEdge, tileEdge);  // throws when a tile is too large
    const auto grid = GridDescription3<Coord>::centered(sizeX, sizeY, sizeZ, separation);
    const auto tileGrid = TileGrid3<Coord>::over(grid, tileEdge);
    if (tileGrid.tiles.size > tilesOfSmallTable)
        detail::requireTableFits(tileGrid.tiles.size, Hardware::getMemoryInfo().available);
    _table = Array<uint32>(tileGrid.tiles.size, noIndex);
    _tiles = {};
    _grid = grid;
    _tileGrid = tileGrid;
    _flags |= Base::flagChanged;
}

template <class Value, class Coord>
void ScalarField3_SG<Value, Coord>::reset_XYZ(uint32 sizeX, uint32 sizeY, uint32 sizeZ, Coord separation)
{
    reset(sizeX, sizeY, sizeZ, separation);
}

template <class Value, class Coord>
void ScalarField3_SG<Value, Coord>::reset_toZeroSize()
{
    reset(0, 0, 0, Coord(0));
}

template <class Value, class Coord>
uint64 ScalarField3_SG<Value, Coord>::getMemoryUsage() const
{
    uint64 bytes = uint64{_table.capacity()} * sizeof(uint32);
    for (const Tile* tile : _tiles)
        bytes += sizeof(Tile*) + sizeof(Tile) + uint64{tile->capacity()} * sizeof(Value);
    return bytes;
}

template <class Value, class Coord>
void ScalarField3_SG<Value, Coord>::moveTo(const Vector3<Coord>& point)
{
    Base::moveTo(point);
    _tileGrid.tiles.moveTo(point);
}

template <class Value, class Coord>
void ScalarField3_SG<Value, Coord>::move(const Vector3<Coord>& offset)
{
    Base::move(offset);
    _tileGrid.tiles.setOrigin(_tileGrid.tiles.box.min + offset);
}

/// Copies samples along z, tile by tile.
template <class Value, class Coord>
void ScalarField3_SG<Value, Coord>::copyRow(const Index3& node, uint32 count, Value* out) const
{
    auto place = _tileGrid.placeOf(node.a, node.b, node.c);
    uint32 left = _tileGrid.step() - _tileGrid.byStep.divide(node.c).rest;  // in the tile
    for (;;)
    {
        const uint32 length = std::min(left, count);
        const uint32 position = _table[place.tile];
        if (position == noIndex)
            std::fill_n(out, length, _defaultValue);
        else
            std::copy_n(_tiles[position]->data() + place.value, length, out);
        if (length == count) return;
        out += length;
        count -= length;
        place.value -= _tileGrid.step() - left;
        ++place.tile;
        left = _tileGrid.step();
    }
}

template <class Value, class Coord>
void ScalarField3_SG<Value, Coord>::copySamples(uint32 first, uint32 count, Value* out) const
{
    while (count > 0)
    {
        const Index3 node = _grid.getIndexes(first);
        const uint32 length = std::min(_grid.sizeZ - node.c, count);
        copyRow(node, length, out);
        first += length;
        out += length;
        count -= length;
    }
}

template <class Value, class Coord>
void ScalarField3_SG<Value, Coord>::set(uint32 i, uint32 j, uint32 k, Value value)
{
    const auto place = _tileGrid.placeOf(i, j, k);
    Value& sample = refTile_alloc(place.tile)[place.value];
    if (place.isShared)
    {
        const Index3 local = _tileGrid.localOf({i, j, k});
        setAtBorder(_tileGrid.tileOf({i, j, k}), local.a, local.b, local.c, value);
    }
    sample = value;
    _flags |= Base::flagChanged;
}

template <class Value, class Coord>
uint32 ScalarField3_SG<Value, Coord>::getTileMonoindex(const Index3& indexes, IndexesSpace space) const
{
    const Index3 tile = space == INDEXES_GLOBAL_SPACE ? _tileGrid.tileOf(indexes) : indexes;
    return _tileGrid.tiles.getMonoindex(tile.a, tile.b, tile.c);
}

template <class Value, class Coord>
Index3 ScalarField3_SG<Value, Coord>::getTileIndexes(uint32 monoindex, IndexesSpace space) const
{
    return space == INDEXES_GLOBAL_SPACE ? _tileGrid.tileOf(_grid.getIndexes(monoindex))
                                         : _tileGrid.tiles.getIndexes(monoindex);
}

template <class Value, class Coord>
Index3 ScalarField3_SG<Value, Coord>::getTileIndexes(const Vector3<Coord>& point) const
{
    const Index3 cell = _grid.contains(point) ? _grid.getCell(point) : noCell;
    return cell == noCell ? noCell : _tileGrid.tileOf(cell);
}

template <class Value, class Coord>
const Array<Value>* ScalarField3_SG<Value, Coord>::getTile(uint32 tileMonoindex) const
{
    const uint32 position = _table[tileMonoindex];
    return position == noIndex ? nullptr : _tiles[position];
}

template <class Value, class Coord>
Array<Value>* ScalarField3_SG<Value, Coord>::getTile(uint32 tileMonoindex)
{
    const uint32 position = _table[tileMonoindex];
    return position == noIndex ? nullptr : _tiles[position];
}

template <class Value, class Coord>
Array<Value>& ScalarField3_SG<Value, Coord>::refTile_alloc(uint32 tileMonoindex)
{
    createTile(tileMonoindex);
    return *_tiles[_table[tileMonoindex]];
}

template <class Value, class Coord>
bool ScalarField3_SG<Value, Coord>::createTile(uint32 tileMonoindex)
{
    if (_table[tileMonoindex] != noIndex) return false;
    Tile values(_tileGrid.valuesPerTile(), _defaultValue);
    takeSharedLayers(tileMonoindex, values);
    setTile(tileMonoindex, std::move(values));
    return true;
}

template <class Value, class Coord>
bool ScalarField3_SG<Value, Coord>::setTile(uint32 tileMonoindex, Tile&& values)
{
    if (values.size() != _tileGrid.valuesPerTile()) return false;
    if (Tile* tile = getTile(tileMonoindex))
        *tile = std::move(values);
    else
    {
        _tiles.push_back(new Tile(std::move(values)));
        _table[tileMonoindex] = _tiles.size() - 1;
    }
    _flags |= Base::flagChanged;
    return true;
}

/// Copies into a tile's values what the stored tiles after it hold of the layers that it shares with them.
template <class Value, class Coord>
void ScalarField3_SG<Value, Coord>::takeSharedLayers(uint32 tileMonoindex, Tile& values) const
{
    const Index3 tile = _tileGrid.tiles.getIndexes(tileMonoindex);
    const uint32 step = _tileGrid.step();
    for (uint32 axes = 1; axes < 8; ++axes)
    {
        const bool x = axes & 1, y = axes & 2, z = axes & 4;
        const uint32 at = tileAt(_tileGrid.tiles, tile, {x, y, z});
        const Tile* next = at == noIndex ? nullptr : getTile(at);
        if (!next) continue;
        for (uint32 i = 0; i < (x ? 1 : step); ++i)
            for (uint32 j = 0; j < (y ? 1 : step); ++j)
                std::copy_n(next->data() + _tileGrid.valueAt(i, j, 0), z ? 1 : step,
                            values.data() + _tileGrid.valueAt(x ? step : i, y ? step : j, z ? step : 0));
    }
}

/// The place of a copy in its tile; noIndex outside the grid of tiles.
template <class Value, class Coord>
uint32 ScalarField3_SG<Value, Coord>::placeOfCopy(const Index3& tile, const Index3& local,
                                                  const TileOffset& offset, uint32& tileOfCopy) const
{
    tileOfCopy = tileAt(_tileGrid.tiles, tile, offset);
    if (tileOfCopy == noIndex) return noIndex;
    const auto wrapped = [&](uint32 axis)
    {
        const int64 edge = _tileGrid.edge, index = int64{local[axis]} + offset[axis];
        return static_cast<uint32>((index % edge + edge) % edge);
    };
    return _tileGrid.valueAt(wrapped(0), wrapped(1), wrapped(2));
}

template <class Value, class Coord>
void ScalarField3_SG<Value, Coord>::setAtBorder(const Index3& tile, uint32 i, uint32 j, uint32 k, Value value)
{
    // All tiles are made before the first copy is written: when one cannot be, no copy differs.
    forEachTileBefore({i, j, k},
                      [&](const TileOffset& offset)
                      {
                          const uint32 at = tileAt(_tileGrid.tiles, tile, offset);
                          if (at != noIndex) createTile(at);
                      });
    forEachTileBefore({i, j, k},
                      [&](const TileOffset& offset) {
                          setAtBorderOffset(tile, {i, j, k}, offset, value);
                      });
}

template <class Value, class Coord>
void ScalarField3_SG<Value, Coord>::setAtBorderOffset(const Index3& tile, const Index3& local,
                                                      const TileOffset& offset, Value value)
{
    uint32 tileOfCopy;
    const uint32 place = placeOfCopy(tile, local, offset, tileOfCopy);
    if (place == noIndex) return;
    refTile_alloc(tileOfCopy)[place] = value;
    _flags |= Base::flagChanged;
}

template <class Value, class Coord>
void ScalarField3_SG<Value, Coord>::addValueToTilesAtBorders(const Index3& tile, uint32 i, uint32 j, uint32 k,
                                                             Value v)
{
    forEachTileBefore({i, j, k},
                      [&](const TileOffset& offset) {
                          addValueToTileOffset(tile, {i, j, k}, offset, v);
                      });
}

template <class Value, class Coord>
void ScalarField3_SG<Value, Coord>::addValueToTileOffset(const Index3& tile, const Index3& local,
                                                         const TileOffset& offset, Value v)
{
    uint32 tileOfCopy;
    const uint32 place = placeOfCopy(tile, local, offset, tileOfCopy);
    if (place == noIndex) return;
    // A new tile has taken over what its neighbours hold, which may already include v.
    const bool isNew = createTile(tileOfCopy);
    Value& copy = (*getTile(tileOfCopy))[place];
    copy = detail::sumOf(isNew ? _defaultValue : copy, v);
    _flags |= Base::flagChanged;
}

/// Whether one of a tile's values next to its neighbour along an axis passes the test: on that many layers,
/// of which the first is the one that they share.
template <class Value, class Coord>
template <class Test>
bool ScalarField3_SG<Value, Coord>::isAnyTowards(const Tile& values, const Index3& tile, uint32 axis,
                                                 bool upwards, uint32 layers, Test test) const
{
    Index3 low{0, 0, 0}, high;
    for (uint32 a = 0; a < 3; ++a)
        high[a] = std::min(_tileGrid.edge, _grid.sizeAlong(a) - tile[a] * _tileGrid.step());
    if (upwards)
        low[axis] = _tileGrid.edge - layers;
    else
        high[axis] = std::min(high[axis], layers);
    for (uint32 i = low.a; i < high.a; ++i)
        for (uint32 j = low.b; j < high.b; ++j)
            for (uint32 k = low.c; k < high.c; ++k)
                if (test(values[_tileGrid.valueAt(i, j, k)])) return true;
    return false;
}

/// Makes the missing neighbours, along the axes, of every tile stored before that has a value next to them
/// which passes the test: on so many layers towards a neighbour before it, on two towards one behind it.
template <class Value, class Coord>
template <class Test>
void ScalarField3_SG<Value, Coord>::createNeighbourTiles(uint32 layersBefore, Test test)
{
    const uint32 storedBefore = _tiles.size();
    for (uint32 t = 0; t < _table.size(); ++t)
    {
        if (_table[t] >= storedBefore) continue;
        const Tile& values = *_tiles[_table[t]];
        const Index3 tile = _tileGrid.tiles.getIndexes(t);
        for (uint32 axis = 0; axis < 3; ++axis)
            for (const bool upwards : {false, true})
            {
                TileOffset offset{0, 0, 0};
                offset[axis] = upwards ? 1 : -1;
                const uint32 neighbour = tileAt(_tileGrid.tiles, tile, offset);
                if (neighbour != noIndex && !getTile(neighbour) &&
                    isAnyTowards(values, tile, axis, upwards, upwards ? 2 : layersBefore, test))
                    createTile(neighbour);
            }
    }
}

template <class Value, class Coord>
void ScalarField3_SG<Value, Coord>::createNeighborTiles_ifValuesAtBoundaryLarger(Value threshold)
{
    createNeighbourTiles(1, [threshold](Value v) { return v > threshold; });
}

/// Makes the tiles that hold a node beside which there is one of another value than the default.
template <class Value, class Coord>
void ScalarField3_SG<Value, Coord>::createTilesToSpreadInto()
{
    createNeighbourTiles(2, [this](Value v) { return !detail::bitwiseEqual(v, _defaultValue); });
}

template <class Value, class Coord>
uint32 ScalarField3_SG<Value, Coord>::adjustCoarse_b3b()
{
    const auto isDefault = [this](Value v) { return detail::bitwiseEqual(v, _defaultValue); };
    Array<uint32> newPosition(_tiles.size());
    uint32 kept = 0;
    for (uint32 n = 0; n < _tiles.size(); ++n)
        newPosition[n] = std::all_of(_tiles[n]->begin(), _tiles[n]->end(), isDefault) ? noIndex : kept++;
    const uint32 freed = _tiles.size() - kept;
    for (uint32 n = 0; n < _tiles.size(); ++n)
        if (newPosition[n] != noIndex) _tiles[newPosition[n]]->swap(*_tiles[n]);
    while (_tiles.size() > kept) _tiles.pop_back();
    for (uint32& position : _table)
        if (position != noIndex) position = newPosition[position];
    return freed;
}

namespace
{

/// The field's own tiles, for a change by particles.
template <class Value, class Coord>
class OwnTiles final : public detail::TileStore<Value, Coord>
{
public:
    explicit OwnTiles(ScalarField3_SG<Value, Coord>& field) : _field(field) {}

    const GridDescription3<Coord>& getGrid() const override { return _field.getGrid(); }
    const TileGrid3<Coord>& getTileGrid() const override { return _field.getTileGrid(); }
    Value getDefaultValue() const override { return _field.getDefaultValue(); }
    const Array<Value>* getTile(uint32 tile) const override { return _field.getTile(tile); }
    void setTile(uint32 tile, Array<Value>&& values) override { _field.setTile(tile, std::move(values)); }
    bool isEmpty() const override { return _field.getStoredTileSize() == 0; }
    void copySamples(uint32 first, uint32 count, Value* out) const override
    {
        _field.copySamples(first, count, out);
    }

private:
    ScalarField3_SG<Value, Coord>& _field;
};

}  // namespace

template <class Value, class Coord>
bool ScalarField3_SG<Value, Coord>::applyParticles(const detail::ParticleChange<Value, Coord>& change)
{
    if (change.isAnew()) this->setZero();
    if (this->size() == 0) return true;
    OwnTiles<Value, Coord> tiles(*this);
    try
    {
        if (!change.changeTiles(tiles)) return false;
    }
    catch (...)
    {
        if (change.isAnew())
            this->setZero();  // tiles that were taken over before have copies without their nodes
        throw;
    }
    _flags |= Base::flagChanged;
    return true;
}

#define TX_INSTANTIATE(Value, Coord) template class ScalarField3_SG<Value, Coord>;
TX_FOR_EACH_SCALAR_FIELD(TX_INSTANTIATE)
#undef TX_INSTANTIATE

}  // namespace tavrix
