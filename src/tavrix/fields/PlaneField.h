#pragma once

#include <tavrix/fields/GridDescription2.h>
#include <tavrix/foundation/Array.h>
#include <tavrix/platform/Export.h>

namespace tavrix
{

/// What ScalarField2 and Vector2Field2 have in common: a sample for every node of a regular grid in the
/// plane, in one array, y varying fastest. Indices of nodes are not checked. Copies are deep. Value is the
/// precision.
template <class Value, class SampleType>
class PlaneField
{
public:
    /// What a node holds.
    using Sample = SampleType;

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
    /// Gives every node the sample.
    void set(const Sample& value) { std::fill(_samples.begin(), _samples.end(), value); }

    /// The sample at a point by bilinear interpolation of the four nodes around it; false, and zero, outside
    /// the closed box.
    Tuple2<bool, Sample> evalSafe(const Vector2D& point) const;
    /// The same, outside the box that of the nearest place in it. There has to be a node.
    Sample evalClamped(const Vector2D& point) const;

protected:
    Array<Sample> _samples;  ///< before the grid, so that a copy that fails leaves as many as nodes
    GridDescription2 _grid{};  ///< where the nodes are
};

TX_GEOMETRY_INSTANCE(PlaneField<float, float>);
TX_GEOMETRY_INSTANCE(PlaneField<double, double>);
TX_GEOMETRY_INSTANCE(PlaneField<float, Vector2<float>>);
TX_GEOMETRY_INSTANCE(PlaneField<double, Vector2<double>>);

}  // namespace tavrix
