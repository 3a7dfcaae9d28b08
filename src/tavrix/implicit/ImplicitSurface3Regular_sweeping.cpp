#include <algorithm>
#include <cmath>
#include <span>
#include <vector>

#include <tavrix/implicit/detail/EikonalSweepKernel.h>
#include <tavrix/implicit/detail/FlagPropagation.h>
#include <tavrix/implicit/detail/SweepOrder.h>
#include <tavrix/implicit/ImplicitSurface3Regular.h>
#include <tavrix/platform/Timer.h>

namespace tavrix
{

namespace
{

/// use(word, first node, end) for every 32 nodes, in parallel: bits of different words may be written at
/// once.
template <class Use>
bool forEachWord(detail::Polling& polling, uint32 nodeCount, uint32 threadCount, Use use)
{
    return detail::inPieces(polling, BitArray::wordsFor(nodeCount), detail::lightItems / 32, threadCount,
                            [&](uint32, uint64 begin, uint64 end)
                            {
                                for (uint64 w = begin; w < end; ++w)
                                    use(static_cast<uint32>(w), static_cast<uint32>(w * 32),
                                        static_cast<uint32>(std::min<uint64>(w * 32 + 32, nodeCount)));
                            });
}

/// Which samples were negative, and which were far: at the default value or beyond.
struct SignMemory
{
    BitArray negative, far;

    explicit SignMemory(uint32 nodeCount) : negative(nodeCount), far(nodeCount) {}
};

template <class T>
bool makePositive(detail::Polling& polling, Array<T>& samples, T defaultValue, SignMemory& memory,
                  uint32 threadCount)
{
    const T farFrom = std::fabs(defaultValue);
    return forEachWord(polling, samples.size(), threadCount,
                       [&](uint32 word, uint32 begin, uint32 end)
                       {
                           uint32 negative = 0, far = 0;
                           for (uint32 n = begin; n < end; ++n)
                           {
                               negative |= uint32{samples[n] < 0} << (n - begin);
                               samples[n] = std::fabs(samples[n]);
                               far |= uint32{samples[n] >= farFrom} << (n - begin);
                           }
                           memory.negative.refWords()[word] = negative;
                           memory.far.refWords()[word] = far;
                       });
}

/// Gives the samples their signs back, those that lost them; far ones that are flagged as inside become
/// negative.
template <class T>
bool restoreSigns(detail::Polling& polling, Array<T>& samples, const SignMemory& memory,
                  const BitArray& neighborsNegative, uint32 threadCount)
{
    return forEachWord(polling, samples.size(), threadCount,
                       [&](uint32 word, uint32 begin, uint32 end)
                       {
                           const uint32 flagged =
                               word < neighborsNegative.wordCount() ? neighborsNegative.getWords()[word] : 0;
                           const uint32 negative =
                               memory.negative.getWords()[word] | (memory.far.getWords()[word] & flagged);
                           for (uint32 n = begin; n < end; ++n)
                               samples[n] = negative >> (n - begin) & 1 ? -std::fabs(samples[n]) : samples[n];
                       });
}

/// Sweeps over all nodes, each worker with marks of its own.
template <class T>
class Sweeper
{
public:
    Sweeper(detail::Polling& polling, const GridDescription3<double>& grid, T* samples, T bandLimit,
            const detail::SweepOrder& order)
        : _polling(polling),
          _grid(grid),
          _samples(samples),
          _bandLimit(bandLimit),
          _order(order),
          _marks(order.workerCount(), Marks(grid.sizeZ + detail::sweptRows))
    {
    }

    /// Sweeps pass by pass, as long as a sample changed in the last one, by no less than the tolerance.
    /// Returns the number of passes.
    uint32 run(std::span<const detail::SweepDirection> directions, T tolerance)
    {
        uint32 passes = 0;
        const auto noChange = static_cast<T>(detail::noChange);
        std::vector<T> changes(_order.workerCount(), noChange);
        const auto hasNextPass = [&]
        {
            const T change = *std::max_element(changes.begin(), changes.end());
            std::fill(changes.begin(), changes.end(), noChange);
            ++passes;
            return tolerance <= change && change > noChange;
        };
        _order.sweep(_polling, directions, hasNextPass,
                     [&](uint32 worker, const detail::SweepDirection& direction, uint32 i, uint32 firstRow,
                         uint32 endRow)
                     {
                         detail::EikonalPlane<T> rows = plane(i, direction);
                         rows.firstRow = firstRow;
                         rows.endRow = endRow;
                         const T change = TX_RUN_KERNEL(sweepPlane, rows, _marks[worker].data());
                         if (change > changes[worker]) changes[worker] = change;
                     });
        return passes;
    }

private:
    using Marks = std::vector<detail::SweepMark<T>>;

    detail::EikonalPlane<T> plane(uint32 i, const detail::SweepDirection& direction) const
    {
        T* samples = _samples + std::size_t{i} * _grid.sizeYZ;
        const bool up = direction.a > 0;
        const bool isFirst = i == (up ? 0 : _grid.sizeX - 1);
        const T* upwindX = isFirst ? samples : up ? samples - _grid.sizeYZ : samples + _grid.sizeYZ;
        return {.samples = samples,
                .upwindX = upwindX,
                .sizeY = _grid.sizeY,
                .sizeZ = _grid.sizeZ,
                .firstRow = 0,
                .endRow = _grid.sizeY,
                .upY = direction.b > 0,
                .upZ = direction.c > 0,
                .h = _grid.largestSeparation,
                .bandLimit = _bandLimit};
    }

    detail::Polling& _polling;
    const GridDescription3<double>& _grid;
    T* _samples;
    T _bandLimit;
    const detail::SweepOrder& _order;
    std::vector<Marks> _marks;
};

}  // namespace

template <class T>
void ImplicitSurface3Regular<T>::getSweepingDirections(Directions& directions)
{
    std::copy(std::begin(detail::sweepDirections), std::end(detail::sweepDirections), directions.begin());
}

template <class T>
detail::SweepOrder ImplicitSurface3Regular<T>::preparingThreadedSweepingVolumes(uint32 threadCount) const
{
    return detail::SweepOrder(_field.getGrid(), threadCount, detail::sweptRows);
}

template <class T>
uint32 ImplicitSurface3Regular<T>::fastSweepingPositive(const T& bandLimit, const T& tolerance,
                                                        uint32 threadCount, detail::Polling& polling)
{
    const detail::SweepOrder order = preparingThreadedSweepingVolumes(threadCount);
    Directions directions;
    getSweepingDirections(directions);
    Sweeper<T> sweeper(polling, _field.getGrid(), _field.refArrScalars().data(), bandLimit, order);
    const uint32 passes = sweeper.run(directions, tolerance);
    detail::propagateFlags(polling, _field.getGrid(), {&_surface, &_neighborsPositive, &_neighborsNegative});
    return passes;
}

template <class T>
uint32 ImplicitSurface3Regular<T>::fastSweeping(const T& bandLimit, const T& tolerance,
                                                const uint32& threadCount)
{
    detail::Polling none(nullptr);
    return sweep(bandLimit, tolerance, threadCount, none);
}

template <class T>
uint32 ImplicitSurface3Regular<T>::sweep(const T& bandLimit, const T& tolerance, uint32 threadCount,
                                         detail::Polling& polling)
{
    if (_field.size() == 0 || !(_field.getPointSeparation() >= 0)) return 0;
    Array<T>& samples = _field.refArrScalars();
    _field.refFlags() |= Field::flagChanged;
    SignMemory memory(samples.size());
    try
    {
        makePositive(polling, samples, _defaultValue, memory, threadCount);
        const uint32 iterations = fastSweepingPositive(bandLimit, tolerance, threadCount, polling);
        restoreSigns(polling, samples, memory, _neighborsNegative, threadCount);
        return iterations;
    }
    catch (...)
    {
        detail::Polling none(nullptr);
        restoreSigns(none, samples, memory, _neighborsNegative, 1);
        throw;
    }
}

template <class T>
uint32 ImplicitSurface3Regular<T>::fastSweeping(const T& tolerance, const uint32& threadCount)
{
    const Vector3F diagonal = convert<float>(_field.getBox().max - _field.getBox().min);
    return fastSweeping(T{length(diagonal)}, tolerance, threadCount);
}

#define TX_INSTANTIATE(T)                                                                                   \
    template uint32 ImplicitSurface3Regular<T>::fastSweepingPositive(const T&, const T&, uint32,            \
                                                                     detail::Polling&);                     \
    template uint32 ImplicitSurface3Regular<T>::sweep(const T&, const T&, uint32, detail::Polling&);        \
    template void ImplicitSurface3Regular<T>::getSweepingDirections(Directions&);                           \
    template detail::SweepOrder ImplicitSurface3Regular<T>::preparingThreadedSweepingVolumes(uint32) const; \
    template uint32 ImplicitSurface3Regular<T>::fastSweeping(const T&, const T&, const uint32&);            \
    template uint32 ImplicitSurface3Regular<T>::fastSweeping(const T&, const uint32&);
TX_INSTANTIATE(float)
TX_INSTANTIATE(double)
#undef TX_INSTANTIATE

}  // namespace tavrix
