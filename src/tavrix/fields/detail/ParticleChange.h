#pragma once

#include <tavrix/fields/TileGrid3.h>
#include <tavrix/foundation/Array.h>

namespace tavrix::detail
{

/// A tiled field, as a change by particles reads and replaces its tiles.
template <class Value, class Coord>
class TileStore
{
public:
    virtual ~TileStore() = default;

    virtual const GridDescription3<Coord>& getGrid() const = 0;
    virtual const TileGrid3<Coord>& getTileGrid() const = 0;
    virtual Value getDefaultValue() const = 0;
    /// Whether no tile is stored.
    virtual bool isEmpty() const = 0;
    /// Null for a tile that is not stored.
    virtual const Array<Value>* getTile(uint32 tile) const = 0;
    virtual void setTile(uint32 tile, Array<Value>&& values) = 0;
    virtual void copySamples(uint32 first, uint32 count, Value* out) const = 0;
};

/// How particles change a field, for any storage: a particle setter makes one, and the storage applies it to
/// what it holds. So setters know no storage, and storages no kernel.
template <class Value, class Coord>
class ParticleChange
{
public:
    virtual ~ParticleChange() = default;

    /// True when the result does not depend on the field's samples.
    virtual bool isAnew() const = 0;
    /// Changes samples in the order of their monoindexes. False when the callback stopped it: then they are 0
    /// when the field is made anew, and otherwise as they were.
    virtual bool changeSamples(const GridDescription3<Coord>& grid, Value* samples) const = 0;
    /// Changes a tiled field, which holds no tiles when it is made anew. False, and the field as it was, when
    /// the callback stopped it.
    virtual bool changeTiles(TileStore<Value, Coord>& field) const = 0;
};

}  // namespace tavrix::detail
