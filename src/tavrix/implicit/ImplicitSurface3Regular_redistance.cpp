#include <algorithm>
#include <cmath>
#include <vector>

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
            {
                const Index3 node{i, j, k};
                const Slopes slopes = slopesAt(node, m);
                if (slopes.isNear) found.push_back({m, static_cast<T>(distance(m, slopes))});
            }
    }

private:
    struct Slopes
    {
        double squares = 0;  ///< of the gradient's length
        bool isNear = false;
    };

    /// The gradient at a node: along each axis the central difference or, where the sign changes, the
    /// steepest difference that crosses, so that a sheet thinner than two cells keeps its place.
    Slopes slopesAt(const Index3& node, uint32 m) const
    {
        const uint32 steps[3] = {_grid.sizeYZ, _grid.sizeZ, 1};
        const double own = _samples[m];
        Slopes slopes;
        for (uint32 axis = 0; axis < 3; ++axis)
        {
            const bool hasLow = node[axis] > 0, hasHigh = node[axis] + 1 < _grid.sizeAlong(axis);
            const double low = hasLow ? _samples[m - steps[axis]] : own;
            const double high = hasHigh ? _samples[m + steps[axis]] : own;
            double slope = std::fabs(high - low) / (hasLow && hasHigh ? 2 : 1);
            for (const double neighbour : {low, high})
                if ((neighbour < 0) != (own < 0))
                {
                    slopes.isNear = true;
                    slope = std::max(slope, std::fabs(neighbour - own));
                }
            slopes.squares += slope * slope;
        }
        return slopes;
    }

    double distance(uint32 m, const Slopes& slopes) const
    {
        return _samples[m] * _grid.largestSeparation / std::sqrt(slopes.squares);
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
uint32 ImplicitSurface3Regular<T>::redistance(const T& defaultValue, const T& tolerance, uint32 threadCount)
{
    const T far = defaultValue;
    Array<T>& samples = _field.refArrScalars();
    const NearNodes<T> nearNodes(_field.getGrid(), samples.data());
    std::vector<std::vector<Sample<T>>> planes(_field.sizeX());
    parallelFor(planes.size(), threadCount,
                [&](uint32, uint64 begin, uint64 end)
                {
                    for (uint64 i = begin; i < end; ++i) nearNodes.collect(static_cast<uint32>(i), planes[i]);
                });
    parallelFor(planes.size(), threadCount,
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
    return fastSweeping(far, tolerance, threadCount);
}

template <class T>
uint32 ImplicitSurface3Regular<T>::widenBand(const T& defaultValue, const T& tolerance, uint32 threadCount)
{
    const T oldFar = _defaultValue, far = defaultValue;
    for (T& sample : _field.refArrScalars())
        if (std::fabs(sample) >= oldFar) sample = sample < 0 ? -far : far;
    setBand(far);
    return fastSweeping(far, tolerance, threadCount);
}

#define TX_INSTANTIATE(T)                                                               \
    template uint32 ImplicitSurface3Regular<T>::redistance(const T&, const T&, uint32); \
    template uint32 ImplicitSurface3Regular<T>::widenBand(const T&, const T&, uint32);  \
    template void ImplicitSurface3Regular<T>::setBand(T);
TX_INSTANTIATE(float)
TX_INSTANTIATE(double)
#undef TX_INSTANTIATE

}  // namespace tavrix
