#include <tavrix/particles/ParticleNeighbours.h>

#include <algorithm>
#include <cmath>

#include <tavrix/particles/detail/ForEachCell.h>
#include <tavrix/particles/detail/InterpolationKernel.h>
#include <tavrix/particles/detail/NearbyPoints.h>

namespace tavrix
{

namespace
{

double squaredDistance(const NeighbourGrid& grid, uint32 n, const Vector3D& place)
{
    const double dx = grid.coordinates(0)[n] - place.x, dy = grid.coordinates(1)[n] - place.y,
                 dz = grid.coordinates(2)[n] - place.z;
    return dx * dx + dy * dy + dz * dz;
}

/// Counts the points within the radius. Stops after the block that exceeds `most`.
uint32 countWithin(const NeighbourGrid& grid, const std::vector<NeighbourGrid::Run>& runs,
                   const Vector3D& place, double radius, uint32 most)
{
    constexpr uint32 blockSize = 256;
    uint32 count = 0;
    for (const NeighbourGrid::Run& run : runs)
        for (uint32 block = run.begin; block < run.end && count <= most;)
        {
            const uint32 end = block + std::min(run.end - block, blockSize);
            for (; block < end; ++block)
                count += squaredDistance(grid, block, place) < radius * radius ? 1 : 0;
        }
    return count;
}

/// countNeighbours as one step of an operation.
Array<uint32> countNeighbours(const NeighbourGrid& grid, const Array<Vector3F>& positions, double radius,
                              uint32 threadCount, uint32 most, detail::Polling& polling)
{
    Array<uint32> counts(positions.size(), 0u);
    if (polling.isStopped()) return counts;
    std::vector<std::vector<NeighbourGrid::Run>> scratch(std::max(threadCount, 1u));
    const auto countInCell = [&](uint32 worker, uint32 cell)
    {
        std::vector<NeighbourGrid::Run>& runs = scratch[worker];
        grid.findRunsOfCell(cell, radius, runs);
        for (uint32 n = grid.cell(cell).begin; n < grid.cell(cell).end; ++n)
        {
            const Vector3D place = convert<double>(positions[grid.order()[n]]);
            const uint32 count = countWithin(grid, runs, place, radius, most);
            counts[grid.order()[n]] = count == 0 ? 0 : std::min(count - 1, most);  // less itself
        }
    };
    detail::forEachCell(grid, threadCount, polling, countInCell);
    return counts;
}

Array<Vector3F> toSingle(const Array<Vector3D>& places, detail::Polling& polling)
{
    Array<Vector3F> single(places.size());
    inPieces(polling, places.size(), detail::lightItems,
             [&](uint64 begin, uint64 end)
             {
                 std::transform(places.begin() + begin, places.begin() + end, single.begin() + begin,
                                [](const Vector3D& p) { return convert<float>(p); });
             });
    return single;
}

/// Points near a box, and their values.
class NearbyValues
{
public:
    NearbyValues(const NeighbourGrid& grid, const Array<Vector3F>& values) : _grid(&grid), _values(&values) {}

    /// Collects those within the reach; false when there are none. One that is not finite counts as zero.
    bool gather(const Box3F& box, double reach)
    {
        if (!_points.gather(*_grid, box, reach)) return false;
        for (uint32 axis = 0; axis < 3; ++axis)
        {
            _nearby[axis].clear();
            for (const uint32 n : _points.numbers())
            {
                const float value = (*_values)[_grid->order()[n]][axis];
                _nearby[axis].push_back(std::isfinite(value) ? value : 0.0f);
            }
            while (_nearby[axis].size() < _points.paddedSize()) _nearby[axis].push_back(0.0f);
        }
        return true;
    }

    detail::PointsWithValues gathered() const
    {
        return {{_points.coordinates(0), _points.coordinates(1), _points.coordinates(2)},
                {_nearby[0].data(), _nearby[1].data(), _nearby[2].data()},
                _points.paddedSize()};
    }

private:
    const NeighbourGrid* _grid;
    const Array<Vector3F>* _values;
    detail::NearbyPoints _points;
    Array<float> _nearby[3];
};

}  // namespace

Array<uint32> countNeighbours(const NeighbourGrid& grid, const Array<Vector3F>& positions, double radius,
                              uint32 threadCount, uint32 most, CancelCallback callback)
{
    detail::Polling polling(callback);
    return countNeighbours(grid, positions, radius, threadCount, most, polling);
}

Array<uint32> findStrays(const Array<Vector3F>& positions, double radius, uint32 least, uint32 threadCount,
                         CancelCallback callback)
{
    detail::Polling polling(callback);
    Array<uint32> strays;
    if (least > 0)
    {
        const NeighbourGrid grid(positions, radius, threadCount, polling);
        const Array<uint32> counts = countNeighbours(grid, positions, radius, threadCount, least, polling);
        if (polling.isStopped()) return strays;
        for (uint32 n = 0; n < counts.size(); ++n)
            if (counts[n] < least) strays.push_back(n);
    }
    else
        for (uint32 n = 0; n < positions.size(); ++n)
            if (!isFinite(positions[n])) strays.push_back(n);
    return strays;
}

Array<Vector3F> interpolateAtPlaces(const NeighbourGrid& grid, const Array<Vector3F>& values,
                                    const Array<Vector3D>& places, double reach, uint32 threadCount,
                                    CancelCallback callback)
{
    Array<Vector3F> averages(places.size());
    detail::Polling none(nullptr), polling(callback);
    const auto fillZero = [&](detail::Polling& polls)
    {
        return inPieces(polls, places.size(), detail::lightItems, threadCount,
                        [&](uint32, uint64 begin, uint64 end) {
                            std::fill(averages.begin() + begin, averages.begin() + end, Vector3F{0, 0, 0});
                        });
    };
    if (!polling.goOn() || !fillZero(polling))
    {
        fillZero(none);
        return averages;
    }
    const NeighbourGrid placeGrid(toSingle(places, polling), reach, threadCount, polling);
    if (polling.isStopped()) return averages;
    std::vector<NearbyValues> workers(std::max(threadCount, 1u), NearbyValues(grid, values));
    const auto averageInCell = [&](uint32 worker, uint32 cell)
    {
        const NeighbourGrid::Run run = placeGrid.cell(cell);
        if (!workers[worker].gather(detail::boxAround(placeGrid, run), reach)) return;
        const detail::PointsWithValues points = workers[worker].gathered();
        for (uint32 n = run.begin; n < run.end; ++n)
        {
            const float place[] = {placeGrid.coordinates(0)[n], placeGrid.coordinates(1)[n],
                                   placeGrid.coordinates(2)[n]};
            float average[3];
            TX_RUN_KERNEL(averageValues, points, place, static_cast<float>(1 / reach), average);
            averages[placeGrid.order()[n]] = {average[0], average[1], average[2]};
        }
    };
    const detail::LongStep step(polling, places.size());
    detail::forEachCell(placeGrid, threadCount, polling, averageInCell);
    return averages;
}

}  // namespace tavrix
