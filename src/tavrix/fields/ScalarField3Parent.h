#pragma once

#include <tavrix/fields/ScalarField3.h>

namespace tavrix
{

/// One grid over several dense fields that share its lattice: their separation is the parent's, and their
/// nodes fall on the parent's nodes. A parent's node reads the child that was added last among those that
/// hold it; a node that no child holds reads the default value. Children are the caller's and must outlive
/// the parent; they are read, never written.
template <class Value, class Coord>
class ScalarField3Parent
{
public:
    /// Sizes the parent's grid, centred on the origin, and forgets the children. Throws std::length_error
    /// when the node count passes 2^32 - 1.
    void reset(uint32 sizeX, uint32 sizeY, uint32 sizeZ, Coord separation);
    /// Moves the grid so that its centre is the point; do so before adding children.
    void moveTo(const Vector3<Coord>& point);

    /// Adds a child at the lattice position nearest to its min corner; parts that reach past the parent are
    /// not seen. Returns false, and adds nothing, when its separations are not the parent's.
    bool addChild(const ScalarField3<Value, Coord>& child);
    /// How many children were added since the last reset.
    uint32 getChildCount() const { return _children.size(); }

    /// The parent's own grid.
    const GridDescription3<Coord>& getGrid() const { return _grid; }
    /// What nodes read that no child holds; 0 at first.
    /// @{
    Value getDefaultValue() const { return _defaultValue; }
    void setDefaultValue(Value value) { _defaultValue = value; }
    /// @}

    /// The sample of a parent's node. The index is not checked.
    Value get(const Index3& node) const;
    /// The gradient at a parent's node by central differences, one-sided at the border of the parent's grid.
    Vector3<Value> evalGradCentral(const Index3& node) const;

private:
    struct Child
    {
        const ScalarField3<Value, Coord>* field;
        Tuple3<int64, int64, int64> origin;
    };

    GridDescription3<Coord> _grid{};
    Array<Child> _children;
    Value _defaultValue{};
};

#define TX_DECLARE(Value, Coord) TX_GEOMETRY_INSTANCE(ScalarField3Parent<Value, Coord>);
TX_FOR_EACH_REAL_SCALAR_FIELD(TX_DECLARE)
#undef TX_DECLARE

}  // namespace tavrix
