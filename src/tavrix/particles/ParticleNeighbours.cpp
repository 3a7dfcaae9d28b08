#include <tavrix/particles/ParticleNeighbours.h>

#include <algorithm>
#include <cmath>

#include <tavrix/particles/detail/ForEachCell.h>
#include <tavrix/particles/detail/InterpolationKernel.h>

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

/// The vectors in the order of the grid's points, one array an axis.
struct SortedValues
{
    Array<float> axes[3];

    SortedValues(const NeighbourGrid& grid, const Array<Vector3F>& values, uint32 threadCount,
                 detail::Polling& polling)
    {
        const uint32 count = grid.size();
        for (Array<float>& axis : axes)
        {
            axis.resize(count + NeighbourGrid::padding);
            std::fill_n(axis.data() + count, uint32{NeighbourGrid::padding}, 0.0f);
        }
        inPieces(polling, count, detail::scatteredItems, threadCount,
                 [&](uint32, uint64 begin, uint64 end)
                 {
                     for (uint64 n = begin; n < end; ++n)
                         for (uint32 axis = 0; axis < 3; ++axis)
                         {
                             const float value = values[grid.order()[n]][axis];
                             axes[axis][n] = std::isfinite(value) ? value : 0.0f;
                         }
                 });
    }
};

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

/// The box around the points of a run, widened on all sides.
Box3D boxAround(const NeighbourGrid& grid, NeighbourGrid::Run run, double margin)
{
    Box3D box = Box3D::empty();
    for (uint32 n = run.begin; n < run.end; ++n)
        box.extend({grid.coordinates(0)[n], grid.coordinates(1)[n], grid.coordinates(2)[n]});
    const Vector3D m{margin, margin, margin};
    return {box.min - m, box.max + m};
}

}  // namespace

Array<uint32> countNeighbours(const NeighbourGrid& grid, const Array<Vector3F>& positions, double radius,
                              uint32 threadCount, uint32 most)
{
    Array<uint32> counts(positions.size(), 0u);
    const auto countInCell = [&](uint32 cell, std::vector<NeighbourGrid::Run>& runs)
    {
        grid.findRunsOfCell(cell, radius, runs);
        for (uint32 n = grid.cell(cell).begin; n < grid.cell(cell).end; ++n)
        {
            const Vector3D place = convert<double>(positions[grid.order()[n]]);
            const uint32 count = countWithin(grid, runs, place, radius, most);
            counts[grid.order()[n]] = count == 0 ? 0 : std::min(count - 1, most);  // less itself
        }
    };
    detail::Polling none(nullptr);
    detail::forEachCell(grid, threadCount, none, countInCell);
    return counts;
}

Array<uint32> findStrays(const Array<Vector3F>& positions, double radius, uint32 least, uint32 threadCount)
{
    Array<uint32> strays;
    if (least > 0)
    {
        const NeighbourGrid grid(positions, radius, threadCount);
        const Array<uint32> counts = countNeighbours(grid, positions, radius, threadCount, least);
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
    const SortedValues sorted(grid, values, threadCount, polling);
    const NeighbourGrid placeGrid(toSingle(places, polling), reach / 2, threadCount, polling);
    if (polling.isStopped()) return averages;
    const auto averageInCell = [&](uint32 cell, std::vector<NeighbourGrid::Run>& runs)
    {
        const NeighbourGrid::Run run = placeGrid.cell(cell);
        grid.findRuns(boxAround(placeGrid, run, reach), runs);
        if (runs.empty()) return;
        const detail::ValueRuns source{{grid.coordinates(0), grid.coordinates(1), grid.coordinates(2)},
                                       {sorted.axes[0].data(), sorted.axes[1].data(), sorted.axes[2].data()},
                                       &runs.data()->begin,
                                       static_cast<uint32>(runs.size())};
        for (uint32 n = run.begin; n < run.end; ++n)
        {
            const float place[] = {placeGrid.coordinates(0)[n], placeGrid.coordinates(1)[n],
                                   placeGrid.coordinates(2)[n]};
            float average[3];
            TX_RUN_KERNEL(averageValues, source, place, static_cast<float>(1 / reach), average);
            averages[placeGrid.order()[n]] = {average[0], average[1], average[2]};
        }
    };
    detail::forEachCell(placeGrid, threadCount, polling, averageInCell);
    return averages;
}

}  // namespace tavrix
