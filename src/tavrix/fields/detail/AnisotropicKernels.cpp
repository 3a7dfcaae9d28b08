#include <tavrix/fields/detail/AnisotropicKernels.h>

#include <algorithm>
#include <bit>
#include <cmath>

#include <tavrix/fields/detail/SymmetricEigen.h>
#include <tavrix/particles/detail/ForEachCell.h>
#include <tavrix/particles/detail/NearbyPoints.h>

namespace tavrix::detail
{

namespace
{

/// The variance along an axis, in squares of the reach, from which on a neighbourhood counts as full. Points
/// that fill the ball evenly have 0.15 with the weights 1 - |d|^3; those on one side of a plane have 0.15
/// along it and 0.04 across.
constexpr double fullVariance = 0.12;

/// The longest axis of a kernel is at least this part of the ball's radius, however small the drop is.
constexpr double shortestLongAxis = 0.5;

/// The median of positive numbers, the upper one of two, by counting their bits: first the upper half, then
/// the lower half of those that share it.
float medianOf(const Array<float>& numbers, Polling& polling)
{
    constexpr uint32 halfBits = 16, halfMask = (1u << halfBits) - 1;
    uint32 rank = numbers.size() / 2, upper = 0;
    for (const bool isUpper : {true, false})
    {
        Array<uint32> counts(halfMask + 1, 0u);
        inPieces(polling, numbers.size(), lightItems,
                 [&](uint64 begin, uint64 end)
                 {
                     for (uint64 n = begin; n < end; ++n)
                     {
                         const auto bits = std::bit_cast<uint32>(numbers[n]);
                         if (isUpper)
                             ++counts[bits >> halfBits];
                         else if (bits >> halfBits == upper)
                             ++counts[bits & halfMask];
                     }
                 });
        uint32 half = 0;
        while (half < halfMask && counts[half] <= rank) rank -= counts[half++];
        if (!isUpper) return std::bit_cast<float>(upper << halfBits | half);
        upper = half;
    }
    return 0;
}

AnisotropySettings withinBounds(const AnisotropySettings& settings)
{
    const auto orDefault = [](float value, float low, float high, float otherwise)
    { return value >= low && value <= high ? value : otherwise; };
    const AnisotropySettings defaults;
    return {orDefault(settings.neighbourReach, 0.1f, 100.0f, defaults.neighbourReach),
            orDefault(settings.smoothing, 0.0f, 1.0f, defaults.smoothing),
            orDefault(settings.largestRatio, 1.0f, 1000.0f, defaults.largestRatio),
            orDefault(settings.fullNeighbours, 1.0f, 1e6f, defaults.fullNeighbours),
            orDefault(settings.loneAmplitude, 0.001f, 1000.0f, defaults.loneAmplitude)};
}

/// The covariance of the weighted offsets.
void toCovariance(const NeighbourMoments& m, SymmetricMatrix& covariance)
{
    const float mean[3] = {m.first[0] / m.weight, m.first[1] / m.weight, m.first[2] / m.weight};
    constexpr uint32 row[] = {0, 0, 0, 1, 1, 2}, column[] = {0, 1, 2, 1, 2, 2};
    for (uint32 n = 0; n < 6; ++n) covariance[n] = m.second[n] / m.weight - mean[row[n]] * mean[column[n]];
}

}  // namespace

AnisotropicKernels::AnisotropicKernels(const Array<Vector3F>& positions, const Array<float>& radii,
                                       const AnisotropySettings& settings, uint32 threadCount,
                                       CancelCallback callback)
    : _settings(withinBounds(settings)), _threadCount(threadCount), _polling(callback)
{
    const uint32 count = std::min(positions.size(), radii.size());
    _positions.reserve(count);
    _radii.reserve(count);
    inPieces(_polling, count, lightItems,
             [&](uint64 begin, uint64 end)
             {
                 for (uint64 n = begin; n < end; ++n)
                 {
                     if (!isFinite(positions[n]) || !(radii[n] > 0) || !std::isfinite(radii[n])) continue;
                     _positions.push_back(positions[n]);
                     _radii.push_back(radii[n]);
                 }
             });
}

/// Calls task(first, last, points) for the sorted particles of each cell and the particles near them.
template <class Task>
bool AnisotropicKernels::forEachNeighbourhood(Task task) const
{
    std::vector<NearbyPoints> workers(std::max(_threadCount, 1u));
    return forEachCell(*_grid, _threadCount, _polling,
                       [&](uint32 worker, uint32 c)
                       {
                           const NeighbourGrid::Run cell = _grid->cell(c);
                           float reach = 0;
                           for (uint32 n = cell.begin; n < cell.end; ++n) reach = std::max(reach, reachOf(n));
                           NearbyPoints& nearby = workers[worker];
                           nearby.gather(*_grid, boxAround(*_grid, cell), reach);
                           task(cell.begin, cell.end,
                                Points{{nearby.coordinates(0), nearby.coordinates(1), nearby.coordinates(2)},
                                       nearby.paddedSize()});
                       });
}

bool AnisotropicKernels::measureNeighbourhoods()
{
    if (!_polling.goOn()) return false;
    if (_positions.empty()) return true;
    _cellSize = double{medianOf(_radii, _polling)} * _settings.neighbourReach;
    if (_polling.isStopped()) return false;
    _grid.emplace(_positions, _cellSize, _threadCount, _polling);
    if (_polling.isStopped()) return false;
    _moments.resize(_grid->size());
    return forEachNeighbourhood(
        [&](uint32 first, uint32 last, const Points& points)
        {
            for (uint32 n = first; n < last; ++n)
            {
                const float place[] = {_grid->coordinates(0)[n], _grid->coordinates(1)[n],
                                       _grid->coordinates(2)[n]};
                _moments[n] = TX_RUN_KERNEL(sumNeighbours, points, place, 1 / reachOf(n));
            }
        });
}

/// The ellipsoid of a particle around its own place, without its box.
Ellipsoid AnisotropicKernels::fitShape(uint32 sorted) const
{
    const NeighbourMoments& moments = _moments[sorted];
    const float length = 2 * radiusOf(sorted);
    Ellipsoid e = Ellipsoid::ball(_grid->coordinates(0)[sorted], _grid->coordinates(1)[sorted],
                                  _grid->coordinates(2)[sorted], length, _settings.loneAmplitude);
    SymmetricMatrix covariance;
    toCovariance(moments, covariance);
    const SymmetricEigen eigen = solveEigen(covariance);
    const double largest = std::max({eigen.values[0], eigen.values[1], eigen.values[2]});
    if (!(largest > 0) || !std::isfinite(largest)) return e;
    const double reference = std::max(largest, std::min(fullVariance, largest / shortestLongAxis));

    const double share = std::min((double{moments.weight} - 1) / _settings.fullNeighbours, 1.0);
    e.amplitude = static_cast<float>(1 + (1 - share) * (double{_settings.loneAmplitude} - 1));
    double form[6] = {};
    for (uint32 k = 0; k < 3; ++k)
    {
        const double ratio = std::max(eigen.values[k], largest / _settings.largestRatio) / reference;
        const double axis = length * (1 + share * (ratio - 1)), scale = 1 / (axis * axis);
        const double* v = eigen.vectors[k];
        for (uint32 row = 0, n = 0; row < 3; ++row)
            for (uint32 column = row; column < 3; ++column, ++n) form[n] += scale * v[row] * v[column];
    }
    float* const members[] = {&e.xx, &e.xy, &e.xz, &e.yy, &e.yz, &e.zz};
    for (uint32 n = 0; n < 6; ++n) *members[n] = static_cast<float>(form[n]);
    return e;
}

/// Moves a centre towards the mean of the particles in the ellipsoid, which is widened to the neighbourhood.
void AnisotropicKernels::moveCenter(Ellipsoid& e, const Points& points) const
{
    const float s = 4 / (_settings.neighbourReach * _settings.neighbourReach);
    const SymmetricMatrix form = {s * e.xx, s * e.xy, s * e.xz, s * e.yy, s * e.yz, s * e.zz};
    const float place[] = {e.x, e.y, e.z};
    const MeanOffset mean = TX_RUN_KERNEL(meanOfNeighbours, points, place, form);
    if (!std::isfinite(mean.x + mean.y + mean.z)) return;
    e.x += _settings.smoothing * mean.x;
    e.y += _settings.smoothing * mean.y;
    e.z += _settings.smoothing * mean.z;
}

bool AnisotropicKernels::fitEllipsoids()
{
    _ellipsoids.resize(_moments.size());
    if (_ellipsoids.empty()) return _polling.goOn();
    const LongStep step(_polling, _ellipsoids.size());
    return forEachNeighbourhood(
        [&](uint32 first, uint32 last, const Points& points)
        {
            for (uint32 n = first; n < last; ++n)
            {
                _ellipsoids[n] = fitShape(n);
                if (_settings.smoothing > 0) moveCenter(_ellipsoids[n], points);
            }
        });
}

bool AnisotropicKernels::fitBoxes()
{
    _moments.clear();
    return inPieces(_polling, _ellipsoids.size(), scatteredItems / 8, _threadCount,
                    [&](uint32, uint64 begin, uint64 end)
                    {
                        for (uint64 n = begin; n < end; ++n) _ellipsoids[n].fitExtent();
                    });
}

}  // namespace tavrix::detail
