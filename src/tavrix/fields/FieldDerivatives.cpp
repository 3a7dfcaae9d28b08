#include <tavrix/fields/FieldDerivatives.h>

#include <tavrix/fields/detail/EachNode.h>
#include <tavrix/fields/detail/PlaneSamples.h>

namespace tavrix
{

namespace
{

/// Gives the field the grid, and valueAt(i, j) at every node.
template <class Field, class ValueAt>
void fill(Field& out, const GridDescription2& grid, ValueAt valueAt)
{
    out.reset(grid);
    for (uint32 i = 0; i < grid.sizeX; ++i)
        for (uint32 j = 0; j < grid.sizeY; ++j) out.set(i, j, valueAt(i, j));
}

}  // namespace

template <class Value, class Coord>
void divergence(const Vector3Field3<Value, Coord>& field, ScalarField3<Value, Coord>& out, uint32 threadCount)
{
    Array<Value> samples(field.size());
    detail::forEachNode(field.getGrid(), threadCount,
                        [&](const Index3& node, uint32 m)
                        {
                            const auto d = field.gradient(node);
                            samples[m] = d.a.x + d.b.y + d.c.z;
                        });
    out.adopt(field.getGrid(), std::move(samples));
}

template <class Value>
void divergence(const Vector2Field2<Value>& field, ScalarField2<Value>& out)
{
    fill(out, field.getGrid(),
         [&](uint32 i, uint32 j) {
             return detail::derivative<Value>(field, i, j, 0).x + detail::derivative<Value>(field, i, j, 1).y;
         });
}

template <class Value>
void curl(const Vector2Field2<Value>& field, ScalarField2<Value>& out)
{
    fill(out, field.getGrid(),
         [&](uint32 i, uint32 j) {
             return detail::derivative<Value>(field, i, j, 0).y - detail::derivative<Value>(field, i, j, 1).x;
         });
}

template <class Value>
void gradient(const ScalarField2<Value>& field, Vector2Field2<Value>& out)
{
    fill(out, field.getGrid(),
         [&](uint32 i, uint32 j) -> Vector2<Value> {
             return {detail::derivative<Value>(field, i, j, 0), detail::derivative<Value>(field, i, j, 1)};
         });
}

#define TX_INSTANTIATE(Value)                                                                    \
    template TX_GEOMETRY_API void divergence(const Vector3Field3<Value, float>&,                 \
                                             ScalarField3<Value, float>&, uint32);               \
    template TX_GEOMETRY_API void divergence(const Vector3Field3<Value, double>&,                \
                                             ScalarField3<Value, double>&, uint32);              \
    template TX_GEOMETRY_API void divergence(const Vector2Field2<Value>&, ScalarField2<Value>&); \
    template TX_GEOMETRY_API void curl(const Vector2Field2<Value>&, ScalarField2<Value>&);       \
    template TX_GEOMETRY_API void gradient(const ScalarField2<Value>&, Vector2Field2<Value>&);
TX_INSTANTIATE(float)
TX_INSTANTIATE(double)
#undef TX_INSTANTIATE

}  // namespace tavrix
