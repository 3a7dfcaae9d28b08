#pragma once

#include <tavrix/fields/GridDescription2.h>
#include <tavrix/foundation/Array.h>
#include <tavrix/platform/Export.h>

namespace tavrix
{

/// A vector for every node of a regular grid in the plane, in one array, y varying fastest; in single or
/// double precision. Indices of nodes are not checked. Copies are deep.
template <class Value>
class Vector2Field2
{
public:
    /// What a node holds.
    using Sample = Vector2<Value>;

    /// Takes over the grid; the samples become unspecified.
    void reset(const GridDescription2& grid)
    {
        _samples.resize(grid.size());
        _grid = grid;
    }
    /// Sizes the grid, centred on the origin. Throws std::length_error, and changes nothing, when the node
    /// count passes 2^32 - 1.
    void reset(uint32 sizeX, uint32 sizeY, double separation)
    {
        reset(GridDescription2::centered(sizeX, sizeY, separation));
    }

    /// Where the nodes are, how many along each axis and altogether.
    /// @{
    const GridDescription2& getGrid() const { return _grid; }
    uint32 sizeX() const { return _grid.sizeX; }
    uint32 sizeY() const { return _grid.sizeY; }
    uint32 size() const { return _grid.size(); }
    /// @}

    /// Reads or writes the sample of a node.
    /// @{
    const Sample& get(uint32 i, uint32 j) const { return _samples[_grid.getMonoindex(i, j)]; }
    void set(uint32 i, uint32 j, const Sample& value) { _samples[_grid.getMonoindex(i, j)] = value; }
    const Sample& operator[](uint32 monoindex) const { return _samples[monoindex]; }
    Sample& operator[](uint32 monoindex) { return _samples[monoindex]; }
    /// @}
    /// All samples in monoindex order.
    /// @{
    const Array<Sample>& getArrVectors() const { return _samples; }
    Array<Sample>& refArrVectors() { return _samples; }
    /// @}
    /// Gives every node the sample.
    void set(const Sample& value) { std::fill(_samples.begin(), _samples.end(), value); }

    /// The sample at a point by bilinear interpolation of the four nodes around it; false, and zero, outside
    /// the closed box.
    Tuple2<bool, Sample> evalSafe(const Vector2D& point) const;
    /// The same, outside the box that of the nearest place in it. There has to be a node.
    Sample evalClamped(const Vector2D& point) const;

private:
    Array<Sample> _samples;  ///< before the grid, so that a copy that fails leaves as many as nodes
    GridDescription2 _grid{};
};

TX_GEOMETRY_INSTANCE(Vector2Field2<float>);
TX_GEOMETRY_INSTANCE(Vector2Field2<double>);

}  // namespace tavrix
