#include <algorithm>
#include <vector>

#include <tavrix/fields/detail/DiffusionStep.h>
#include <tavrix/fields/ScalarField3.h>
#include <tavrix/foundation/detail/Polling.h>
#include <tavrix/foundation/ParallelFor.h>

namespace tavrix
{

namespace
{

/// Rows of samples along z around the row to be written; beyond the grid's faces the row itself.
template <class Value>
struct Rows
{
    Value* out;
    const Value *own, *lowX, *highX, *lowY, *highY;
};

template <class Value>
void diffuseRow(const Rows<Value>& rows, uint32 sizeZ, const detail::DiffusionStep<Value>& step)
{
    const auto at = [&](uint32 k, uint32 low, uint32 high)
    {
        return step.diffuse(rows.own[k], rows.lowX[k], rows.highX[k], rows.lowY[k], rows.highY[k],
                            rows.own[low], rows.own[high]);
    };
    const uint32 last = sizeZ - 1;
    Value* __restrict out = rows.out;
    out[0] = at(0, 0, std::min(1u, last));
    for (uint32 k = 1; k < last; ++k) out[k] = at(k, k - 1, k + 1);
    if (last > 0) out[last] = at(last, last - 1, last);
}

/// The planes [begin, end) of a field, to be diffused in place by one worker: it needs the planes on either
/// side as they were, and the last two planes that it has overwritten.
template <class Value>
class DiffusedSlab
{
public:
    DiffusedSlab(Value* samples, uint32 sizeX, uint32 sizeY, uint32 sizeZ, uint32 begin, uint32 end)
        : _samples(samples),
          _sizeY(sizeY),
          _sizeZ(sizeZ),
          _plane(std::size_t{sizeY} * sizeZ),
          _begin(begin),
          _end(end),
          _before(copyOf(begin > 0 ? begin - 1 : begin)),
          _behind(copyOf(end < sizeX ? end : end - 1)),
          _current(_plane)
    {
    }

    void run(const detail::DiffusionStep<Value>& step, detail::Polling& polling)
    {
        for (uint32 i = _begin; i < _end && polling.goOn(); ++i)
        {
            Value* plane = _samples + i * _plane;
            std::copy_n(plane, _plane, _current.begin());
            diffusePlane(plane, i + 1 < _end ? plane + _plane : _behind.data(), step);
            _before.swap(_current);
        }
    }

private:
    std::vector<Value> copyOf(uint32 i) const
    {
        return std::vector<Value>(_samples + i * _plane, _samples + (i + 1) * _plane);
    }

    void diffusePlane(Value* out, const Value* next, const detail::DiffusionStep<Value>& step) const
    {
        for (uint32 j = 0; j < _sizeY; ++j)
        {
            const std::size_t row = std::size_t{j} * _sizeZ;
            const Value* own = _current.data() + row;
            diffuseRow<Value>({out + row, own, _before.data() + row, next + row, j > 0 ? own - _sizeZ : own,
                               j + 1 < _sizeY ? own + _sizeZ : own},
                              _sizeZ, step);
        }
    }

    Value* _samples;
    uint32 _sizeY, _sizeZ;
    std::size_t _plane;
    uint32 _begin, _end;
    std::vector<Value> _before, _behind, _current;
};

template <class Value, class Coord>
void diffuseExplicitly(const GridDescription3<Coord>& grid, Value* samples,
                       const detail::DiffusionStep<Value>& step, uint32 threadCount, detail::Polling& polling)
{
    const uint32 workers =
        std::min(detail::threadsWorth(grid.size, 4 * detail::lightItems, threadCount), grid.sizeX);
    std::vector<DiffusedSlab<Value>> slabs;
    for (uint64 w = 0; w < workers; ++w)
        slabs.emplace_back(samples, grid.sizeX, grid.sizeY, grid.sizeZ,
                           static_cast<uint32>(w * grid.sizeX / workers),
                           static_cast<uint32>((w + 1) * grid.sizeX / workers));
    polledFor(polling, workers, workers, [&](uint32, uint64 w, uint64) { slabs[w].run(step, polling); });
}

/// Relaxes a few rows that follow each other in y. Each row starts one node behind the one before it, so
/// that their nodes, each of which waits for the node before it, are computed side by side.
template <class Value>
void relaxRows(const Rows<Value>* rows, uint32 count, uint32 sizeZ, const detail::DiffusionStep<Value>& step)
{
    const uint32 last = sizeZ - 1;
    for (uint32 t = 0; t < sizeZ + count - 1; ++t)
        for (uint32 r = t < sizeZ ? 0 : t - last; r < std::min(t + 1, count); ++r)
        {
            const Rows<Value>& row = rows[r];
            const uint32 k = t - r;
            row.out[k] = step.relax(row.own[k], row.lowX[k], row.highX[k], row.lowY[k], row.highY[k],
                                    row.out[k > 0 ? k - 1 : k], row.out[k < last ? k + 1 : k]);
        }
}

/// One relaxation of the samples of plane i, in place and in monoindex order.
template <class Value, class Coord>
void relaxPlane(const GridDescription3<Coord>& grid, Value* samples, const Value* source, uint32 i,
                const detail::DiffusionStep<Value>& step)
{
    constexpr uint32 group = 8;
    Rows<Value> rows[group];
    for (uint32 j = 0; j < grid.sizeY; j += group)
    {
        const uint32 count = std::min(group, grid.sizeY - j);
        for (uint32 r = 0; r < count; ++r)
        {
            const std::size_t start = grid.getMonoindex(i, j + r, 0);
            Value* own = samples + start;
            rows[r] = {own,
                       source + start,
                       i > 0 ? own - grid.sizeYZ : own,
                       i + 1 < grid.sizeX ? own + grid.sizeYZ : own,
                       j + r > 0 ? own - grid.sizeZ : own,
                       j + r + 1 < grid.sizeY ? own + grid.sizeZ : own};
        }
        relaxRows(rows, count, grid.sizeZ, step);
    }
}

/// Twenty passes at once, each two planes behind the one before it: pass p at plane i reads the planes i - 1
/// to i + 1, of which pass p - 1 has left the last one. So a step's planes are independent of each other,
/// and the result is that of one pass after the other.
template <class Value, class Coord>
void diffuseImplicitly(const GridDescription3<Coord>& grid, Array<Value>& samples,
                       const detail::DiffusionStep<Value>& step, uint32 threadCount, detail::Polling& polling)
{
    constexpr uint32 passCount = 20;
    const Array<Value> source(samples);
    const uint32 threads =
        detail::threadsWorth(uint64{passCount} * grid.sizeYZ, detail::lightItems, threadCount);
    for (uint32 t = 0; t < grid.sizeX + 2 * (passCount - 1) && polling.goOn(); ++t)
    {
        const uint32 first = t < grid.sizeX ? 0 : (t - grid.sizeX) / 2 + 1;
        const uint32 end = std::min(t / 2 + 1, passCount);
        parallelFor(end - first, threads,
                    [&](uint32, uint64 from, uint64 to)
                    {
                        for (uint64 p = first + from; p < first + to; ++p)
                            relaxPlane(grid, samples.data(), source.data(), t - 2 * static_cast<uint32>(p),
                                       step);
                    });
    }
}

}  // namespace

template <class Value, class Coord>
void ScalarField3<Value, Coord>::diffuse_dissipate(
    Value timeStep, Value diffusion, Value dissipation, uint32 threadCount,
    typename Base::DiffuseDissipateSolverMode mode, Value minValue, Value maxValue,
    CancelCallback callback) requires std::floating_point<Value>
{
    if (_samples.empty()) return;
    const auto step = detail::diffusionStep(_grid.size, timeStep, diffusion, dissipation, minValue, maxValue);
    detail::Polling polling(callback);
    if (mode == Base::TX_FIELD_DIFFUSE_EXPLICIT)
        diffuseExplicitly(_grid, _samples.data(), step, threadCount, polling);
    else if (mode == Base::TX_FIELD_DIFFUSE_IMPLICIT)
        diffuseImplicitly(_grid, _samples, step, threadCount, polling);
    else
        return;
    _flags |= Base::flagChanged;
}

#define TX_INSTANTIATE(Value, Coord)                                                                       \
    template void ScalarField3<Value, Coord>::diffuse_dissipate(                                           \
        Value, Value, Value, uint32, typename ScalarField3_base<Value, Coord>::DiffuseDissipateSolverMode, \
        Value, Value, CancelCallback);
TX_FOR_EACH_REAL_SCALAR_FIELD(TX_INSTANTIATE)
#undef TX_INSTANTIATE

}  // namespace tavrix
