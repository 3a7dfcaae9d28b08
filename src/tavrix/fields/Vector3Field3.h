#pragma once

#include <tavrix/fields/GridDescription3.h>
#include <tavrix/foundation/Array.h>
#include <tavrix/platform/Export.h>

namespace tavrix
{

/// A vector for every node of a regular grid, in one array: gradients, velocities.
///
/// Indices of nodes are not checked. Copies are deep.
template <class Value, class Coord>
class Vector3Field3
{
public:
    /// Takes over the grid, its place included; the vectors become unspecified.
    void reset(const GridDescription3<Coord>& grid);
    /// Sizes the grid, centred on the origin. Throws std::length_error, and changes nothing, when the node
    /// count passes 2^32 - 1.
    void reset(uint32 sizeX, uint32 sizeY, uint32 sizeZ, Coord separation);
    /// Frees the vectors; the grid has no nodes.
    void reset_toZeroSize();
    /// Bytes held for the vectors.
    uint64 getMemoryUsage() const { return uint64{_vectors.capacity()} * sizeof(Vector3<Value>); }

    /// Where the nodes are, how many along each axis and altogether, and their box.
    /// @{
    const GridDescription3<Coord>& getGrid() const { return _grid; }
    uint32 sizeX() const { return _grid.sizeX; }
    uint32 sizeY() const { return _grid.sizeY; }
    uint32 sizeZ() const { return _grid.sizeZ; }
    uint32 size() const { return _grid.size; }
    const Box3<Coord>& getBox() const { return _grid.box; }
    /// @}

    /// Reads or writes the vector of a node.
    /// @{
    const Vector3<Value>& get(uint32 monoindex) const { return _vectors[monoindex]; }
    const Vector3<Value>& get(uint32 i, uint32 j, uint32 k) const { return get(_grid.getMonoindex(i, j, k)); }
    const Vector3<Value>& get(const Index3& node) const { return get(node.a, node.b, node.c); }
    void set(uint32 monoindex, const Vector3<Value>& value) { _vectors[monoindex] = value; }
    void set(const Index3& node, const Vector3<Value>& value)
    {
        _vectors[_grid.getMonoindex(node.a, node.b, node.c)] = value;
    }
    /// @}
    /// All vectors in monoindex order.
    /// @{
    const Array<Vector3<Value>>& getArrVectors() const { return _vectors; }
    Array<Vector3<Value>>& refArrVectors() { return _vectors; }
    /// @}

    /// The vector at a point by trilinear interpolation of the eight nodes around it; false, and a zero
    /// vector, outside the closed box.
    Tuple2<bool, Vector3<Value>> evalSafe(const Vector3<Coord>& point) const;

    /// The derivatives of the vectors along x, y and z at a node: central differences, one-sided ones at
    /// borders, and zero along an axis of one node.
    Tuple3<Vector3<Value>, Vector3<Value>, Vector3<Value>> gradient(const Index3& node) const;
    /// Gives the vector field this one's grid and the curl at every node, by `gradient`. Not itself. The same
    /// bytes for every thread count.
    void curl(Vector3Field3& out, uint32 threadCount = 1) const;

    /// Sets every node to the mean of the vectors of particles in the cells around it, weighted as points are
    /// interpolated, and to zero where there are none: the transfer from particles to the grid that evalSafe
    /// reverses. Particles outside the box are left out. `weights`, if there are any, get the sum of weights
    /// of every node. As many vectors as positions; sums go in the order of the particles, so the bytes are
    /// the same for every thread count. Linear in particles and nodes.
    void splat(const Array<Vector3<Value>>& positions, const Array<Vector3<Value>>& vectors,
               Array<Value>* weights = nullptr, uint32 threadCount = 1);

private:
    Array<Vector3<Value>> _vectors;  ///< before the grid, so that a copy that fails leaves as many as nodes
    GridDescription3<Coord> _grid{};
};

#define TX_DECLARE(Value, Coord) TX_GEOMETRY_INSTANCE(Vector3Field3<Value, Coord>);
TX_DECLARE(float, float)
TX_DECLARE(float, double)
TX_DECLARE(double, float)
TX_DECLARE(double, double)
#undef TX_DECLARE

}  // namespace tavrix
