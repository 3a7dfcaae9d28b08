#include <algorithm>
#include <vector>

#include <tavrix/fields/detail/DiffusionStep.h>
#include <tavrix/fields/ScalarField3_SG.h>
#include <tavrix/foundation/detail/Polling.h>
#include <tavrix/foundation/ParallelFor.h>

namespace tavrix
{

namespace
{

/// Diffuses tiles of a field, one after the other, into values apart from it. A tile has its shared layers,
/// so that it needs of the tiles beside it only the layer behind the shared one.
template <class Value, class Coord>
class TileDiffusion
{
public:
    TileDiffusion(const ScalarField3_SG<Value, Coord>& field, const detail::DiffusionStep<Value>& step)
        : _field(field),
          _tiles(field.getTileGrid()),
          _step(step),
          _defaults(_tiles.valuesPerTile(), field.getDefaultValue()),
          _stride{_tiles.edge * _tiles.edge, _tiles.edge, 1}
    {
    }

    /// The new values of a stored tile's nodes, shared layers included.
    void run(uint32 tile, Array<Value>& out)
    {
        const Index3 at = _tiles.tiles.getIndexes(tile);
        const uint32 tileStride[] = {_tiles.tiles.sizeYZ, _tiles.tiles.sizeZ, 1};
        _own = valuesOf(tile);
        for (uint32 axis = 0; axis < 3; ++axis)
        {
            const uint32 left = _field.getGrid().sizeAlong(axis) - at[axis] * _tiles.step();
            _count[axis] = std::min(_tiles.edge, left);
            _before[axis] = at[axis] > 0 ? valuesOf(tile - tileStride[axis]) : nullptr;
            _behind[axis] = left > _tiles.edge ? valuesOf(tile + tileStride[axis]) : nullptr;
        }
        for (uint32 i = 0; i < _count.a; ++i)
            for (uint32 j = 0; j < _count.b; ++j) diffuseRow(i, j, out.data() + _tiles.valueAt(i, j, 0));
    }

private:
    const Value* valuesOf(uint32 tile) const
    {
        const Array<Value>* values = _field.getTile(tile);
        return values ? values->data() : _defaults.data();
    }

    /// The sample before a node along an axis, and the one behind it; on the grid's faces the node's own.
    /// @{
    const Value* before(uint32 axis, uint32 index, uint32 place) const
    {
        if (index > 0) return _own + place - _stride[axis];
        return _before[axis] ? _before[axis] + place + (_tiles.step() - 1) * _stride[axis] : _own + place;
    }
    const Value* behind(uint32 axis, uint32 index, uint32 place) const
    {
        if (index + 1 < _count[axis]) return _own + place + _stride[axis];
        return _behind[axis] ? _behind[axis] + place - (_tiles.step() - 1) * _stride[axis] : _own + place;
    }
    /// @}

    void diffuseRow(uint32 i, uint32 j, Value* __restrict out) const
    {
        const uint32 place = _tiles.valueAt(i, j, 0), last = _count.c - 1;
        const Value* own = _own + place;
        const Value *lowX = before(0, i, place), *highX = behind(0, i, place);
        const Value *lowY = before(1, j, place), *highY = behind(1, j, place);
        const Value lowZ = *before(2, 0, place), highZ = *behind(2, last, place + last);
        const auto at = [&](uint32 k, Value low, Value high)
        { return _step.diffuse(own[k], lowX[k], highX[k], lowY[k], highY[k], low, high); };
        out[0] = at(0, lowZ, last > 0 ? own[1] : highZ);
        for (uint32 k = 1; k < last; ++k) out[k] = at(k, own[k - 1], own[k + 1]);
        if (last > 0) out[last] = at(last, own[last - 1], highZ);
    }

    const ScalarField3_SG<Value, Coord>& _field;
    const TileGrid3<Coord>& _tiles;
    detail::DiffusionStep<Value> _step;
    Array<Value> _defaults;  ///< what tiles hold that are not stored
    uint32 _stride[3];       ///< from one value of a tile to the next along an axis

    // Of the tile at work: its values and its nodes in the grid, and the values of the tiles beside it, null
    // where the grid ends.
    const Value *_own, *_before[3], *_behind[3];
    Index3 _count;
};

}  // namespace

template <class Value, class Coord>
void ScalarField3_SG<Value, Coord>::diffuse_dissipate(Value timeStep, Value diffusion, Value dissipation,
                                                      uint32 threadCount,
                                                      typename Base::DiffuseDissipateSolverMode mode,
                                                      Value minValue,
                                                      Value maxValue) requires std::floating_point<Value>
{
    if (this->size() == 0 || mode != Base::TX_FIELD_DIFFUSE_EXPLICIT) return;
    const auto step = detail::diffusionStep(_grid.size, timeStep, diffusion, dissipation, minValue, maxValue);
    const Value v = _defaultValue, newDefault = step.diffuse(v, v, v, v, v, v, v);
    createTilesToSpreadInto();
    std::vector<uint32> stored(_tiles.size());
    for (uint32 t = 0; t < _table.size(); ++t)
        if (_table[t] != noIndex) stored[_table[t]] = t;
    std::vector<Tile> values(stored.size());
    const uint64 nodeCount = stored.size() * _tileGrid.valuesPerTile();
    parallelFor(stored.size(), detail::threadsWorth(nodeCount, detail::lightItems, threadCount),
                [&](uint32, uint64 begin, uint64 end)
                {
                    TileDiffusion<Value, Coord> diffusionOf(*this, step);
                    for (uint64 n = begin; n < end; ++n)
                    {
                        values[n].assign(_tileGrid.valuesPerTile(), newDefault);
                        diffusionOf.run(stored[n], values[n]);
                    }
                });
    for (uint32 n = 0; n < values.size(); ++n) _tiles[n]->swap(values[n]);
    _defaultValue = newDefault;
    _flags |= Base::flagChanged;
}

#define TX_INSTANTIATE(Value, Coord)                                                                       \
    template void ScalarField3_SG<Value, Coord>::diffuse_dissipate(                                        \
        Value, Value, Value, uint32, typename ScalarField3_base<Value, Coord>::DiffuseDissipateSolverMode, \
        Value, Value);
TX_FOR_EACH_REAL_SCALAR_FIELD(TX_INSTANTIATE)
#undef TX_INSTANTIATE

}  // namespace tavrix
