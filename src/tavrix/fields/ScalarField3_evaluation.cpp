#include <array>

#include <tavrix/fields/ScalarField3.h>

namespace tavrix
{

namespace
{

/// The samples of the eight nodes around a point and their trilinear weights; corner c is high in x for bit
/// 0, in y for bit 1, in z for bit 2.
template <class Value, class Coord>
struct CellSamples
{
    std::array<Value, 8> value;
    std::array<Coord, 8> weight;

    Value interpolate() const
    {
        Coord sum = 0;
        for (Coord w : weight) sum += w;
        Value result = 0;
        for (uint32 c = 0; c < 8; ++c)
            result = static_cast<Value>(result + static_cast<Value>(weight[c] / sum) * value[c]);
        return result;
    }
};

/// The cell around a point inside the closed box; false outside. Indices past the last node are clamped to
/// it, so a point on a high face reads that plane twice.
template <class Value, class Coord>
bool gatherCell(const ScalarField3<Value, Coord>& field, const Vector3<Coord>& point,
                CellSamples<Value, Coord>& cell)
{
    const GridDescription3<Coord>& grid = field.getGrid();
    if (grid.size == 0 || !grid.box.contains(point)) return false;
    const Index3 low = grid.getCell(point);
    if (low == noCell) return false;

    Index3 high;
    Vector3<Coord> toLow, toHigh;
    for (uint32 axis = 0; axis < 3; ++axis)
    {
        const Coord node = grid.getCoordinate(axis, low[axis]);
        toLow[axis] = point[axis] - node;
        toHigh[axis] = node + grid.separation[axis] - point[axis];
        high[axis] = low[axis] + 1 < grid.sizeAlong(axis) ? low[axis] + 1 : low[axis];
    }
    for (uint32 c = 0; c < 8; ++c)
    {
        const bool x = c & 1, y = c & 2, z = c & 4;
        cell.value[c] = field.get(x ? high.a : low.a, y ? high.b : low.b, z ? high.c : low.c);
        cell.weight[c] = (x ? toLow.x : toHigh.x) * (y ? toLow.y : toHigh.y) * (z ? toLow.z : toHigh.z);
    }
    return true;
}

/// Trilinear value at the point, unless a node of its cell is refused.
template <class Value, class Coord, class Refuse>
Tuple2<bool, Value> evaluate(const ScalarField3<Value, Coord>& field, const Vector3<Coord>& point,
                             Refuse refuse)
{
    CellSamples<Value, Coord> cell;
    if (!gatherCell(field, point, cell)) return {false, failedValue<Value>};
    for (Value v : cell.value)
        if (refuse(v)) return {false, failedValue<Value>};
    return {true, cell.interpolate()};
}

}  // namespace

template <class Value, class Coord>
Tuple2<bool, Value> ScalarField3<Value, Coord>::evalSafe(const Vector3<Coord>& point,
                                                         ScalarFieldEvalMode) const
{
    return evaluate(*this, point, [](Value) { return false; });
}

template <class Value, class Coord>
Tuple2<bool, Value> ScalarField3<Value, Coord>::evalSafe_useLessThanThreshold(const Vector3<Coord>& point,
                                                                              Value threshold,
                                                                              ScalarFieldEvalMode) const
{
    return evaluate(*this, point, [threshold](Value v) { return v < threshold; });
}

template <class Value, class Coord>
Tuple2<bool, Value> ScalarField3<Value, Coord>::evalSafe_useGreaterThanThreshold(const Vector3<Coord>& point,
                                                                                 Value threshold,
                                                                                 ScalarFieldEvalMode) const
{
    return evaluate(*this, point, [threshold](Value v) { return v > threshold; });
}

#define TX_INSTANTIATE(Value, Coord)                                                              \
    template Tuple2<bool, Value> ScalarField3<Value, Coord>::evalSafe(const Vector3<Coord>&,      \
                                                                      ScalarFieldEvalMode) const; \
    template Tuple2<bool, Value> ScalarField3<Value, Coord>::evalSafe_useLessThanThreshold(       \
        const Vector3<Coord>&, Value, ScalarFieldEvalMode) const;                                 \
    template Tuple2<bool, Value> ScalarField3<Value, Coord>::evalSafe_useGreaterThanThreshold(    \
        const Vector3<Coord>&, Value, ScalarFieldEvalMode) const;
TX_FOR_EACH_SCALAR_FIELD(TX_INSTANTIATE)
#undef TX_INSTANTIATE

}  // namespace tavrix
