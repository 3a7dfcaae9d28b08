#include <tavrix/particles/ParticleNeighbours.h>

#include <algorithm>

#include <tavrix/foundation/ParallelFor.h>

namespace tavrix
{

namespace
{

/// Places that one worker handles between two polls of the callback: some tens of milliseconds.
constexpr uint64 placesPerPoll = 1 << 14;

double squaredDistance(const NeighbourGrid& grid, uint32 n, const Vector3D& place)
{
    const double dx = grid.coordinates(0)[n] - place.x, dy = grid.coordinates(1)[n] - place.y,
                 dz = grid.coordinates(2)[n] - place.z;
    return dx * dx + dy * dy + dz * dz;
}

uint32 countWithin(const NeighbourGrid& grid, const std::vector<NeighbourGrid::Run>& runs, const Vector3D& place,
                   double radius)
{
    uint32 count = 0;
    for (const NeighbourGrid::Run& run : runs)
        for (uint32 n = run.begin; n < run.end; ++n)
            count += squaredDistance(grid, n, place) < radius * radius ? 1 : 0;
    return count;
}

Vector3F averageAround(const NeighbourGrid& grid, const std::vector<NeighbourGrid::Run>& runs,
                       const Array<Vector3F>& values, const Vector3D& place, double reach)
{
    const double scale = 1 / (reach * reach);
    double weight = 0;
    Vector3D sum{0, 0, 0};
    for (const NeighbourGrid::Run& run : runs)
        for (uint32 n = run.begin; n < run.end; ++n)
        {
            const double t = 1 - squaredDistance(grid, n, place) * scale;
            if (!(t > 0)) continue;
            const double w = t * t * t;
            weight += w;
            sum += convert<double>(values[grid.order()[n]]) * w;
        }
    return weight > 0 ? convert<float>(sum / weight) : Vector3F{0, 0, 0};
}

}  // namespace

Array<uint32> countNeighbours(const NeighbourGrid& grid, const Array<Vector3F>& positions, double radius,
                              uint32 threadCount)
{
    Array<uint32> counts(positions.size(), 0u);
    parallelFor(grid.cellCount(), threadCount,
                [&](uint32, uint64 begin, uint64 end)
                {
                    std::vector<NeighbourGrid::Run> runs;
                    for (auto c = static_cast<uint32>(begin); c < end; ++c)
                    {
                        grid.findRunsOfCell(c, radius, runs);
                        for (uint32 n = grid.cell(c).begin; n < grid.cell(c).end; ++n)
                        {
                            const Vector3D place = convert<double>(positions[grid.order()[n]]);
                            counts[grid.order()[n]] = countWithin(grid, runs, place, radius) - 1;
                        }
                    }
                });
    return counts;
}

Array<Vector3F> interpolateAtPlaces(const NeighbourGrid& grid, const Array<Vector3F>& values,
                                    const Array<Vector3D>& places, double reach, uint32 threadCount,
                                    CancelCallback callback)
{
    Array<Vector3F> averages(places.size(), Vector3F{0, 0, 0});
    const uint64 step = placesPerPoll * std::max(threadCount, 1u);
    for (uint64 first = 0; first < places.size() && !isCancelled(callback); first += step)
        parallelFor(std::min(step, places.size() - first), threadCount,
                    [&](uint32, uint64 begin, uint64 end)
                    {
                        std::vector<NeighbourGrid::Run> runs;
                        for (uint64 n = first + begin; n < first + end; ++n)
                        {
                            grid.findRuns(places[n], reach, runs);
                            averages[n] = averageAround(grid, runs, values, places[n], reach);
                        }
                    });
    return averages;
}

}  // namespace tavrix
