#pragma once

#include <tavrix/fields/ScalarField3_base.h>
#include <tavrix/fields/TileGrid3.h>
#include <tavrix/foundation/ArrayOfPtr.h>

namespace tavrix
{

/// What the indices of a call count: nodes or tiles.
enum IndexesSpace
{
    INDEXES_GLOBAL_SPACE,
    INDEXES_TILE_SPACE
};

/// Nodes along a tile's side unless a reset names another number.
inline constexpr uint32 defaultTileEdge = 8;

/// Tiled scalar field: the nodes lie in cubic tiles (see TileGrid3), of which only those are stored that were
/// written to. The nodes of all others read the default value. For fields that are non-trivial near a
/// surface only.
///
/// A node on a layer that tiles share belongs to the tile where its local index is 0; the copies in the
/// tiles before it equal it after every operation of this class, and a tile that holds a copy of another
/// value than the default is stored. Values of a tile that lie outside the grid have the default value.
/// Operations on the whole field act on the tiles and on the default value, which stands for the nodes
/// without a tile: set and setZero free all tiles and change it alone. What the class has in common with
/// ScalarField3 gives the same samples, particle fields included, byte for byte. Indices are not checked.
template <class Value, class Coord>
class ScalarField3_SG final : public ScalarField3_base<Value, Coord>
{
    using Base = ScalarField3_base<Value, Coord>;
    using Base::_flags;
    using Base::_grid;

public:
    /// A tile's values, and a step from one tile to another.
    /// @{
    using Tile = Array<Value>;
    using TileOffset = Tuple3<int32, int32, int32>;
    /// @}

    /// The forms of the base, beside those below.
    /// @{
    using Base::add;
    using Base::get;
    using Base::set;
    /// @}

    /// An empty field with tiles of 8 nodes a side.
    ScalarField3_SG();
    /// Copies grids, tiles and default value, not the render object.
    /// @{
    ScalarField3_SG(const ScalarField3_SG& other);
    ScalarField3_SG& operator=(const ScalarField3_SG& other);
    /// @}
    ~ScalarField3_SG() override;

    /// Sizes the grid, centred on the origin, and the table of ceil(size / (tileEdge - 1)) tiles an axis, and
    /// frees every tile; the default value stays. A tile edge below 2 counts as 2. The table takes four bytes
    /// a tile, stored or not. Throws std::length_error, and changes nothing, when the grid's nodes or a
    /// tile's values pass 2^32 - 1, or a table of more than 256 MiB passes the memory that the machine has
    /// available (where it tells).
    /// @{
    void reset(uint32 sizeX, uint32 sizeY, uint32 sizeZ, Coord separation, uint32 tileEdge = defaultTileEdge);
    void reset(uint32 sizeX, uint32 sizeY, uint32 sizeZ, const Vector3<Coord>& separation,
               uint32 tileEdge = defaultTileEdge);
    /// @}
    /// As reset, with tiles of 8 nodes a side.
    void reset_XYZ(uint32 sizeX, uint32 sizeY, uint32 sizeZ, Coord separation) override;
    void reset_toZeroSize() override;
    /// Does nothing for the tiled field.
    void initialize() override {}
    /// Bytes of the tiles and of the table and list that lead to them.
    uint64 getMemoryUsage() const override;

    void moveTo(const Vector3<Coord>& point) override;
    void move(const Vector3<Coord>& offset) override;

    /// The sample of a node, the default value where no tile is stored.
    /// @{
    Value get(uint32 i, uint32 j, uint32 k) const
    {
        const auto place = _tileGrid.placeOf(i, j, k);
        const uint32 position = _table[place.tile];
        return position == noIndex ? _defaultValue : (*_tiles[position])[place.value];
    }
    Value get(const Index3& node) const override { return get(node.a, node.b, node.c); }
    Value get(uint32 monoindex) const override { return get(_grid.getIndexes(monoindex)); }
    /// @}
    void copySamples(uint32 first, uint32 count, Value* out) const override;

    /// Writes a sample and its copies; the tiles that hold them are made where they are missing.
    /// @{
    void set(uint32 i, uint32 j, uint32 k, Value value);
    void set(const Index3& node, Value value) override { set(node.a, node.b, node.c, value); }
    void set(uint32 monoindex, Value value) override { set(_grid.getIndexes(monoindex), value); }
    /// @}
    /// Frees the tiles and gives every node this value, which becomes the default value.
    void set(Value value) override { setDefaultValue(value); }
    Value getDefaultValue() const override { return _defaultValue; }
    void setDefaultValue(Value value) override;

    /// How the nodes are spread over tiles, and how many there are along a tile's side.
    /// @{
    const TileGrid3<Coord>& getTileGrid() const { return _tileGrid; }
    uint32 getTileEdge() const { return _tileGrid.edge; }
    /// @}
    /// Number of tiles, stored or not, altogether and per axis.
    /// @{
    uint32 getTileSize() const { return _tileGrid.tiles.size; }
    uint32 getTileSizeX() const { return _tileGrid.tiles.sizeX; }
    uint32 getTileSizeY() const { return _tileGrid.tiles.sizeY; }
    uint32 getTileSizeZ() const { return _tileGrid.tiles.sizeZ; }
    /// @}
    /// Number of tiles that are stored.
    uint32 getStoredTileSize() const { return _tiles.size(); }

    /// The monoindex of a tile from the indices of one of its nodes (global space) or from its own.
    /// @{
    uint32 getTileMonoindex(uint32 i, uint32 j, uint32 k, IndexesSpace space) const
    {
        return getTileMonoindex(Index3{i, j, k}, space);
    }
    uint32 getTileMonoindex(const Index3& indexes, IndexesSpace space) const;
    /// @}
    /// The indices of the tile that a node belongs to.
    /// @{
    Index3 getTileIndexes(uint32 i, uint32 j, uint32 k) const { return getTileIndexes(Index3{i, j, k}); }
    Index3 getTileIndexes(const Index3& node) const { return _tileGrid.tileOf(node); }
    /// @}
    /// The indices of a tile from the monoindex of one of its nodes (global space) or from its own.
    Index3 getTileIndexes(uint32 monoindex, IndexesSpace space) const;
    /// The indices of the tile around a point; noCell for a point outside the closed box.
    Index3 getTileIndexes(const Vector3<Coord>& point) const;

    /// A tile's edge^3 values, z fastest; null for one that is not stored. Who writes into a tile writes the
    /// copies too, with setAtBorder.
    /// @{
    const Tile* getTile(uint32 tileMonoindex) const;
    Tile* getTile(uint32 tileMonoindex);
    /// @}
    /// As getTile, making the tile when it is not stored.
    Tile& refTile_alloc(uint32 tileMonoindex);
    /// Makes a tile that is not stored, of the default value but for the layers that it shares with stored
    /// tiles after it: no sample changes. Returns whether it did.
    bool createTile(uint32 tileMonoindex);
    /// Gives a tile its edge^3 values, shared layers included: these and the neighbours' copies must agree.
    /// Returns false, and changes nothing, for another number of values.
    bool setTile(uint32 tileMonoindex, Tile&& values);

    /// Writes the copies of a node that has the local indices (i, j, k) in a tile: for every set of axes
    /// whose local index is 0, that in the tile before it along these axes, if there is one in the grid.
    /// Makes tiles that are not stored.
    void setAtBorder(const Index3& tile, uint32 i, uint32 j, uint32 k, Value value);
    /// Writes one copy: at local + offset, wrapped into the tile, of the tile at tile + offset. Nothing
    /// happens outside the grid of tiles.
    void setAtBorderOffset(const Index3& tile, const Index3& local, const TileOffset& offset, Value value);
    /// As setAtBorder and setAtBorderOffset, but adding v. A copy in a tile that had to be made becomes the
    /// default value + v.
    /// @{
    void addValueToTilesAtBorders(const Index3& tile, uint32 i, uint32 j, uint32 k, Value v);
    void addValueToTileOffset(const Index3& tile, const Index3& local, const TileOffset& offset, Value v);
    /// @}

    /// Makes the missing neighbours, along the axes, of every tile stored before the call that has a value
    /// larger than the threshold, not equal to it, next to them: on the shared layer or, as set gives a value
    /// on that layer its tiles anyway, on the last layer before it. So a feature that grows by a node
    /// between two calls finds its tile.
    void createNeighborTiles_ifValuesAtBoundaryLarger(Value threshold);
    /// Frees the tiles all of whose values are the default value, bit for bit; no sample changes. Returns
    /// their number.
    uint32 adjustCoarse_b3b();

    void add(Value v) override;
    void multiply(Value factor) override;
    void abs() override;
    /// With fields of the same sizes and tile edge, the result stores the tiles that one of them does, and
    /// the default value is combined as the samples are; with others, it stores the tiles that were written.
    bool add(const Base& other, Value factor) override;
    bool sub(const Base& other) override;
    bool interpolate(const Base& a, const Base& b, double t) override;
    /// Of a tiled field the default value is taken over too. Stores the tiles that the other field does, when
    /// its sizes and tile edge are the same, or else those in which a sample is not the default value.
    bool copyScalars(const Base& other) override;
    void findMinMax(Value& min, Value& max) const override;
    bool doIHave_NaN() const override;

    /// The explicit step of ScalarField3::diffuse_dissipate: every sample gets what it gets there, faces and
    /// number of threads alike; the default value steps as a field of it alone does. Makes the tiles into
    /// which values next to them spread, and frees none. Any other mode changes nothing, the implicit one
    /// too: each of its passes carries values through the whole grid, and would make every tile. Takes time
    /// for the stored tiles, plus that of a look at every tile, and their memory once more.
    void diffuse_dissipate(Value timeStep, Value diffusion, Value dissipation, uint32 threadCount,
                           typename Base::DiffuseDissipateSolverMode mode, Value minValue,
                           Value maxValue) requires std::floating_point<Value>;

protected:
    bool applyParticles(const detail::ParticleChange<Value, Coord>& change) override;

private:
    void copyRow(const Index3& node, uint32 count, Value* out) const;
    uint32 placeOfCopy(const Index3& tile, const Index3& local, const TileOffset& offset,
                       uint32& tileOfCopy) const;
    void takeSharedLayers(uint32 tileMonoindex, Tile& values) const;
    template <class Test>
    bool isAnyTowards(const Tile& values, const Index3& tile, uint32 axis, bool upwards, uint32 layers,
                      Test test) const;
    template <class Test>
    void createNeighbourTiles(uint32 layersBefore, Test test);
    void createTilesToSpreadInto();
    void freeTiles();
    const ScalarField3_SG* asSameTiles(const Base& other) const;
    template <class Map>
    void mapSamples(Map map);
    template <class Combine>
    bool combineTiles(const Base& a, const Base& b, Combine combine);
    template <class Visit>
    void forEachStoredRow(Visit visit) const;

    TileGrid3<Coord> _tileGrid = TileGrid3<Coord>::over({}, defaultTileEdge);
    Array<uint32> _table;  ///< of every tile: its position in the list, noIndex when it is not stored
    ArrayOfPtr<Tile> _tiles;
    Value _defaultValue{};
};

#define TX_DECLARE(Value, Coord) TX_GEOMETRY_INSTANCE(ScalarField3_SG<Value, Coord>);
TX_FOR_EACH_SCALAR_FIELD(TX_DECLARE)
#undef TX_DECLARE

}  // namespace tavrix
