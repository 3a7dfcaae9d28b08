#include <tavrix/particles/detail/NearbyPoints.h>

#include <algorithm>
#include <cmath>

namespace tavrix::detail
{

namespace
{

float larger(float a, float b) { return a > b ? a : b; }

/// How far a coordinate lies outside of a range.
float outside(float at, float low, float high) { return larger(larger(low - at, at - high), 0.0f); }

/// A finite coordinate out of the reach of those at the end of a box, also where these are so large that
/// adding the reach changes nothing.
float beyond(double end, double reach)
{
    constexpr double huge = 1e37;
    return std::abs(end) < huge ? static_cast<float>(std::min(4 * (std::abs(end) + reach), 10 * huge)) : 0.0f;
}

/// Writes the numbers of a run's points that are closer to the box than the reach; returns how many.
uint32 closeTo(const Box3F& box, float squaredReach, const NeighbourGrid& grid, NeighbourGrid::Run run,
               uint32* numbers)
{
    constexpr uint32 chunk = 64;
    float squares[chunk];
    uint32 count = 0;
    for (uint32 first = run.begin; first < run.end; first += chunk)
    {
        const uint32 size = std::min(run.end - first, chunk);
        const float *x = grid.coordinates(0) + first, *y = grid.coordinates(1) + first,
                    *z = grid.coordinates(2) + first;
        for (uint32 n = 0; n < size; ++n)
        {
            const float dx = outside(x[n], box.min.x, box.max.x), dy = outside(y[n], box.min.y, box.max.y),
                        dz = outside(z[n], box.min.z, box.max.z);
            squares[n] = dx * dx + dy * dy + dz * dz;
        }
        for (uint32 n = 0; n < size; ++n)
        {
            numbers[count] = first + n;
            count += squares[n] < squaredReach ? 1 : 0;
        }
    }
    return count;
}

}  // namespace

bool NearbyPoints::gather(const NeighbourGrid& grid, const Box3F& box, double reach)
{
    const Vector3D margin{reach, reach, reach};
    grid.findRuns({convert<double>(box.min) - margin, convert<double>(box.max) + margin}, _runs);
    uint32 most = 0;
    for (const NeighbourGrid::Run& run : _runs) most += run.end - run.begin;
    if (most > _numbers.capacity()) _numbers.reserve(most + most / 2, false);
    _numbers.resize(most);
    const auto squaredReach = static_cast<float>(reach * reach * 1.0001);  // none is lost to rounding
    uint32 count = 0;
    for (const NeighbourGrid::Run& run : _runs)
        count += closeTo(box, squaredReach, grid, run, _numbers.data() + count);
    _numbers.resize(count);

    const uint32 padded = (count + atOnce - 1) / atOnce * atOnce;
    for (uint32 axis = 0; axis < 3; ++axis)
    {
        Array<float>& coordinates = _coordinates[axis];
        if (padded > coordinates.capacity()) coordinates.reserve(padded + padded / 2, false);
        coordinates.resize(padded);
        for (uint32 n = 0; n < count; ++n) coordinates[n] = grid.coordinates(axis)[_numbers[n]];
        std::fill(coordinates.begin() + count, coordinates.end(), beyond(box.max[axis], reach));
    }
    return count > 0;
}

Box3F boxAround(const NeighbourGrid& grid, NeighbourGrid::Run run)
{
    Box3F box = Box3F::empty();
    for (uint32 n = run.begin; n < run.end; ++n)
        box.extend({grid.coordinates(0)[n], grid.coordinates(1)[n], grid.coordinates(2)[n]});
    return box;
}

}  // namespace tavrix::detail
