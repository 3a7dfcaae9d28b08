#include <algorithm>
#include <cmath>
#include <vector>

#include <tavrix/foundation/detail/Polling.h>
#include <tavrix/foundation/ParallelFor.h>
#include <tavrix/implicit/ImplicitSurface3Regular.h>

namespace tavrix
{

namespace
{

template <class T>
struct Sample
{
    uint32 monoindex;
    T value;
};

/// Distances of the nodes next to a change of sign.
template <class T>
class NearNodes
{
public:
    NearNodes(const GridDescription3<double>& grid, const T* samples) : _grid(grid), _samples(samples) {}

    /// Appends the near nodes of plane i with their signed distances.
    void collect(uint32 i, std::vector<Sample<T>>& found) const
    {
        uint32 m = _grid.getMonoindex(i, 0, 0);
        for (uint32 j = 0; j < _grid.sizeY; ++j)
            for (uint32 k = 0; k < _grid.sizeZ; ++k, ++m)
                if (isNear({i, j, k}, m)) found.push_back({m, static_cast<T>(distance({i, j, k}, m))});
    }

private:
    uint32 step(uint32 axis) const { return axis == 0 ? _grid.sizeYZ : axis == 1 ? _grid.sizeZ : 1; }
    bool hasLow(const Index3& node, uint32 axis) const { return node[axis] > 0; }
    bool hasHigh(const Index3& node, uint32 axis) const { return node[axis] + 1 < _grid.sizeAlong(axis); }

    bool isNear(const Index3& node, uint32 m) const
    {
        if (std::isnan(_samples[m])) return false;
        const bool negative = _samples[m] < 0;
        for (uint32 axis = 0; axis < 3; ++axis)
            if ((hasLow(node, axis) && (_samples[m - step(axis)] < 0) != negative) ||
                (hasHigh(node, axis) && (_samples[m + step(axis)] < 0) != negative))
                return true;
        return false;
    }

    /// A sample whose square is finite.
    double sample(uint32 m) const { return std::clamp(static_cast<double>(_samples[m]), -1e150, 1e150); }

    /// The neighbour at a step, or the sample itself where there is none or it is not a number.
    double neighbour(bool isThere, uint32 m, double own) const
    {
        return isThere && !std::isnan(_samples[m]) ? sample(m) : own;
    }

    /// The sample over the length of the gradient. Along each axis that is the central difference or, where
    /// the sign changes, the steepest difference that crosses, so that a sheet thinner than two cells keeps
    /// its place.
    double distance(const Index3& node, uint32 m) const
    {
        const double own = sample(m);
        double squares = 0;
        for (uint32 axis = 0; axis < 3; ++axis)
        {
            const double low = neighbour(hasLow(node, axis), m - step(axis), own);
            const double high = neighbour(hasHigh(node, axis), m + step(axis), own);
            double slope = std::fabs(high - low) / (hasLow(node, axis) && hasHigh(node, axis) ? 2 : 1);
            for (const double other : {low, high})
                if ((other < 0) != (own < 0)) slope = std::max(slope, std::fabs(other - own));
            squares += slope * slope;
        }
        return own * _grid.largestSeparation / std::sqrt(squares);
    }

    const GridDescription3<double>& _grid;
    const T* _samples;
};

}  // namespace

template <class T>
void ImplicitSurface3Regular<T>::setBand(T width)
{
    _defaultValue = width;
    _cutOffValue = std::nextafter(width, T(0));
}

template <class T>
uint32 ImplicitSurface3Regular<T>::redistance(const T& defaultValue, const T& tolerance, uint32 threadCount,
                                              CancelCallback callback)
{
    detail::Polling polling(callback);
    const T far = std::fabs(defaultValue);
    Array<T>& samples = _field.refArrScalars();
    const NearNodes<T> nearNodes(_field.getGrid(), samples.data());
    const uint32 threads = detail::threadsWorth(samples.size(), detail::lightItems, threadCount);
    std::vector<std::vector<Sample<T>>> planes(_field.size() == 0 ? 0 : _field.sizeX());
    parallelFor(planes.size(), threads,
                [&](uint32, uint64 begin, uint64 end)
                {
                    for (uint64 i = begin; i < end; ++i) nearNodes.collect(static_cast<uint32>(i), planes[i]);
                });
    parallelFor(planes.size(), threads,
                [&](uint32, uint64 begin, uint64 end)
                {
                    const uint64 plane = _field.getGrid().sizeYZ;
                    for (uint64 m = begin * plane; m < end * plane; ++m)
                        samples[m] = samples[m] < 0 ? -far : far;
                    for (uint64 i = begin; i < end; ++i)
                        for (const Sample<T>& s : planes[i])
                            samples[s.monoindex] = std::clamp(s.value, -far, far);
                });
    setBand(far);
    createNeighborsCells();
    return sweep(far, tolerance, threadCount, polling);
}

template <class T>
uint32 ImplicitSurface3Regular<T>::widenBand(const T& defaultValue, const T& tolerance, uint32 threadCount,
                                             CancelCallback callback)
{
    detail::Polling polling(callback);
    const T oldFar = std::fabs(_defaultValue), far = std::fabs(defaultValue);
    for (T& sample : _field.refArrScalars())
        if (std::fabs(sample) >= oldFar) sample = sample < 0 ? -far : far;
    setBand(far);
    return sweep(far, tolerance, threadCount, polling);
}

#define TX_INSTANTIATE(T)                                                                               \
    template uint32 ImplicitSurface3Regular<T>::redistance(const T&, const T&, uint32, CancelCallback); \
    template uint32 ImplicitSurface3Regular<T>::widenBand(const T&, const T&, uint32, CancelCallback);  \
    template void ImplicitSurface3Regular<T>::setBand(T);
TX_INSTANTIATE(float)
TX_INSTANTIATE(double)
#undef TX_INSTANTIATE

}  // namespace tavrix
