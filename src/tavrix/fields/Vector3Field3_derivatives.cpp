#include <tavrix/fields/detail/EachNode.h>
#include <tavrix/fields/Vector3Field3.h>

namespace tavrix
{

template <class Value, class Coord>
Tuple3<Vector3<Value>, Vector3<Value>, Vector3<Value>> Vector3Field3<Value, Coord>::gradient(
    const Index3& node) const
{
    const auto along = [&](uint32 axis) -> Vector3<Value>
    {
        Index3 low = node, high = node;
        if (node[axis] > 0) --low[axis];
        if (node[axis] + 1 < _grid.sizeAlong(axis)) ++high[axis];
        if (high[axis] == low[axis]) return {0, 0, 0};
        const auto steps = static_cast<Coord>(high[axis] - low[axis]);
        return (get(high) - get(low)) * static_cast<Value>(_grid.reciprocalSeparation[axis] / steps);
    };
    return {along(0), along(1), along(2)};
}

template <class Value, class Coord>
void Vector3Field3<Value, Coord>::curl(Vector3Field3& out, uint32 threadCount) const
{
    out.reset(_grid);
    detail::forEachNode(_grid, threadCount,
                        [&](const Index3& node, uint32 m)
                        {
                            const auto d = gradient(node);
                            out.set(m, Vector3<Value>{d.b.z - d.c.y, d.c.x - d.a.z, d.a.y - d.b.x});
                        });
}

#define TX_INSTANTIATE(Value, Coord)                                                                       \
    template Tuple3<Vector3<Value>, Vector3<Value>, Vector3<Value>> Vector3Field3<Value, Coord>::gradient( \
        const Index3&) const;                                                                              \
    template void Vector3Field3<Value, Coord>::curl(Vector3Field3<Value, Coord>&, uint32) const;
TX_INSTANTIATE(float, float)
TX_INSTANTIATE(float, double)
TX_INSTANTIATE(double, float)
TX_INSTANTIATE(double, double)
#undef TX_INSTANTIATE

}  // namespace tavrix
