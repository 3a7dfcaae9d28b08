#include <tavrix/fields/PlaneAdvection.h>

#include <tavrix/fields/detail/PlaneSamples.h>
#include <tavrix/foundation/detail/Polling.h>
#include <tavrix/foundation/ParallelFor.h>

namespace tavrix
{

namespace
{

template <class Value>
Value limited(Value v, Value a, Value b, Value c, Value d)
{
    return std::clamp(v, std::min(std::min(a, b), std::min(c, d)), std::max(std::max(a, b), std::max(c, d)));
}

template <class Value>
Vector2<Value> limited(const Vector2<Value>& v, const Vector2<Value>& a, const Vector2<Value>& b,
                       const Vector2<Value>& c, const Vector2<Value>& d)
{
    return {limited(v.x, a.x, b.x, c.x, d.x), limited(v.y, a.y, b.y, c.y, d.y)};
}

/// Where a field comes from, at every node.
template <class Value, class Field>
class BackwardStep
{
public:
    BackwardStep(const Vector2Field2<Value>& velocity, double time, uint32 threadCount)
        : _velocity(velocity), _time(time), _threadCount(threadCount)
    {
    }

    /// The field after the step.
    Field carried(const Field& field) const
    {
        return made(field.getGrid(), [&](uint32 i, uint32 j)
                    { return field.evalClamped(source(field.getGrid(), i, j, _time)); });
    }

    /// The step with the error taken out that shows after a step back.
    Field corrected(const Field& field) const
    {
        const GridDescription2& grid = field.getGrid();
        const Field forth = carried(field);
        return made(grid,
                    [&](uint32 i, uint32 j)
                    {
                        const auto back = forth.evalClamped(source(grid, i, j, -_time));
                        const auto cell = grid.getCell(source(grid, i, j, _time));
                        const auto better = forth.get(i, j) + (field.get(i, j) - back) * Value(0.5);
                        return limited(better, field.get(cell.i, cell.j), field.get(cell.i, cell.jHigh),
                                       field.get(cell.iHigh, cell.j), field.get(cell.iHigh, cell.jHigh));
                    });
    }

private:
    /// The place from which a midpoint step leads to a node.
    Vector2D source(const GridDescription2& grid, uint32 i, uint32 j, double time) const
    {
        const Vector2D node = grid.getPoint(i, j);
        const auto before = [&](const Vector2D& at, double by)
        {
            const Vector2<Value> v = _velocity.evalClamped(at);
            return node - Vector2D{v.x, v.y} * by;
        };
        return before(before(node, time / 2), time);
    }

    /// A field of value(i, j).
    template <class ValueAt>
    Field made(const GridDescription2& grid, ValueAt value) const
    {
        Field out;
        out.reset(grid);
        const uint32 threads = detail::threadsWorth(grid.size(), detail::scatteredItems, _threadCount);
        parallelFor(grid.sizeX, threads,
                    [&](uint32, uint64 begin, uint64 end)
                    {
                        for (auto i = static_cast<uint32>(begin); i < end; ++i)
                            for (uint32 j = 0; j < grid.sizeY; ++j) out.set(i, j, value(i, j));
                    });
        return out;
    }

    const Vector2Field2<Value>& _velocity;
    double _time;
    uint32 _threadCount;
};

template <class Value, class Field>
void advectField(Field& field, const Vector2Field2<Value>& velocity, double time, PlaneAdvectionScheme scheme,
                 uint32 threadCount)
{
    if (velocity.size() == 0) return;
    const BackwardStep<Value, Field> step(velocity, time, threadCount);
    field = scheme == PlaneAdvectionScheme::SemiLagrangian ? step.carried(field) : step.corrected(field);
}

}  // namespace

#define TX_DEFINE(Value, Field)                                                         \
    void advect(Field<Value>& field, const Vector2Field2<Value>& velocity, double time, \
                PlaneAdvectionScheme scheme, uint32 threadCount)                        \
    {                                                                                   \
        advectField(field, velocity, time, scheme, threadCount);                        \
    }
TX_DEFINE(float, ScalarField2)
TX_DEFINE(double, ScalarField2)
TX_DEFINE(float, Vector2Field2)
TX_DEFINE(double, Vector2Field2)
#undef TX_DEFINE

}  // namespace tavrix
