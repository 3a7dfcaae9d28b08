#include <tavrix/fields/ScalarField3Parent.h>

#include <cmath>

namespace tavrix
{

template <class Value, class Coord>
void ScalarField3Parent<Value, Coord>::reset(uint32 sizeX, uint32 sizeY, uint32 sizeZ, Coord separation)
{
    _grid = GridDescription3<Coord>::centered(sizeX, sizeY, sizeZ, {separation, separation, separation});
    _children.clear();
}

template <class Value, class Coord>
void ScalarField3Parent<Value, Coord>::moveTo(const Vector3<Coord>& point)
{
    _grid.moveTo(point);
}

template <class Value, class Coord>
bool ScalarField3Parent<Value, Coord>::addChild(const ScalarField3<Value, Coord>& child)
{
    if (child.getPointSeparations() != _grid.separation) return false;
    const Vector3<Coord> offset = child.getBox().min - _grid.box.min;
    const auto steps = [&](uint32 axis)
    { return std::llround(offset[axis] * _grid.reciprocalSeparation[axis]); };
    _children.push_back({&child, {steps(0), steps(1), steps(2)}});
    return true;
}

template <class Value, class Coord>
Value ScalarField3Parent<Value, Coord>::get(const Index3& node) const
{
    for (uint32 n = _children.size(); n-- > 0;)
    {
        const Child& child = _children[n];
        const int64 i = node.a - child.origin.a, j = node.b - child.origin.b, k = node.c - child.origin.c;
        if (i < 0 || j < 0 || k < 0 || i >= child.field->sizeX() || j >= child.field->sizeY() ||
            k >= child.field->sizeZ())
            continue;
        return child.field->get(static_cast<uint32>(i), static_cast<uint32>(j), static_cast<uint32>(k));
    }
    return _defaultValue;
}

template <class Value, class Coord>
Vector3<Value> ScalarField3Parent<Value, Coord>::evalGradCentral(const Index3& node) const
{
    Vector3<Value> gradient;
    for (uint32 axis = 0; axis < 3; ++axis)
    {
        Index3 low = node, high = node;
        if (low[axis] > 0) --low[axis];
        if (high[axis] + 1 < _grid.sizeAlong(axis)) ++high[axis];
        const uint32 steps = high[axis] - low[axis];
        gradient[axis] = steps == 0 ? Value(0)
                                    : static_cast<Value>((get(high) - get(low)) / (static_cast<Coord>(steps) *
                                                                                   _grid.separation[axis]));
    }
    return gradient;
}

#define TX_INSTANTIATE(Value, Coord) template class ScalarField3Parent<Value, Coord>;
TX_FOR_EACH_REAL_SCALAR_FIELD(TX_INSTANTIATE)
#undef TX_INSTANTIATE

}  // namespace tavrix
