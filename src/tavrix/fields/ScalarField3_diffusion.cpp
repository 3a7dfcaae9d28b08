#include <algorithm>
#include <vector>

#include <tavrix/fields/detail/DiffusionBands.h>
#include <tavrix/fields/ScalarField3.h>
#include <tavrix/foundation/detail/Polling.h>
#include <tavrix/foundation/ParallelFor.h>

namespace tavrix
{

namespace
{

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
            diffusePlane(plane, i + 1 < _end ? plane + _plane : _behind.data(), step);
            _before.swap(_current);
        }
    }

private:
    std::vector<Value> copyOf(uint32 i) const
    {
        return std::vector<Value>(_samples + i * _plane, _samples + (i + 1) * _plane);
    }

    /// Each row is kept before it is overwritten, for the next row and the next plane.
    void diffusePlane(Value* plane, const Value* next, const detail::DiffusionStep<Value>& step)
    {
        for (uint32 j = 0; j < _sizeY; ++j)
        {
            const std::size_t row = std::size_t{j} * _sizeZ;
            Value* const own = _current.data() + row;
            std::copy_n(plane + row, _sizeZ, own);
            const detail::DiffusedRow<Value> rows{plane + row,
                                                  own,
                                                  _before.data() + row,
                                                  next + row,
                                                  j > 0 ? own - _sizeZ : own,
                                                  j + 1 < _sizeY ? plane + row + _sizeZ : own};
            TX_RUN_KERNEL(diffuseRow, rows, _sizeZ, step);
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

/// One relaxation of the samples of plane i, in place and in monoindex order.
template <class Value>
void relaxPlane(detail::DiffusionBands<Value>& samples, const detail::DiffusionBands<Value>& source, uint32 i,
                const detail::DiffusionStep<Value>& step)
{
    for (uint32 band = 0; band < samples.bands(); ++band)
    {
        samples.takeNeighbours(i, band);
        const detail::DiffusedBand<Value> rows{samples.band(i, band),
                                               source.band(i, band),
                                               samples.band(i > 0 ? i - 1 : i, band),
                                               samples.band(i + 1 < samples.sizeX() ? i + 1 : i, band),
                                               samples.rowsOf(band),
                                               samples.sizeZ(),
                                               samples.stride()};
        TX_RUN_KERNEL(relaxBand, rows, step);
    }
}

/// Twenty passes at once, each two planes behind the one before it: pass p at plane i reads the planes i - 1
/// to i + 1, of which pass p - 1 has left the last one. So a step's planes are independent of each other,
/// and the result is that of one pass after the other.
template <class Value, class Coord>
void diffuseImplicitly(const GridDescription3<Coord>& grid, Value* samples,
                       const detail::DiffusionStep<Value>& step, uint32 threadCount, detail::Polling& polling)
{
    constexpr uint32 passCount = 20;
    detail::DiffusionBands<Value> bands(grid.sizeX, grid.sizeY, grid.sizeZ), source = bands.sameShape();
    const uint32 threads =
        detail::threadsWorth(uint64{passCount} * grid.sizeYZ, detail::lightItems, threadCount);
    const auto forPlanes = [&](const auto& visit)
    {
        return detail::inPieces(polling, grid.sizeX, 1, threads,
                                [&](uint32, uint64 begin, uint64 end)
                                {
                                    for (uint64 i = begin; i < end; ++i)
                                        visit(static_cast<uint32>(i), samples + i * grid.sizeYZ);
                                });
    };
    forPlanes(
        [&](uint32 i, const Value* plane)
        {
            bands.take(i, plane);
            source.take(i, plane);
        });
    for (uint32 t = 0; t < grid.sizeX + 2 * (passCount - 1) && polling.goOn(); ++t)
    {
        const uint32 first = t < grid.sizeX ? 0 : (t - grid.sizeX) / 2 + 1;
        const uint32 end = std::min(t / 2 + 1, passCount);
        parallelFor(end - first, threads,
                    [&](uint32, uint64 from, uint64 to)
                    {
                        for (uint64 p = first + from; p < first + to; ++p)
                            relaxPlane(bands, source, t - 2 * static_cast<uint32>(p), step);
                    });
    }
    if (!polling.isStopped()) forPlanes([&](uint32 i, Value* plane) { bands.give(i, plane); });
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
        diffuseImplicitly(_grid, _samples.data(), step, threadCount, polling);
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
