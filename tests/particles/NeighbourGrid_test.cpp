#include <gtest/gtest.h>

#include <algorithm>
#include <limits>

#include <particles/Clouds.h>
#include <tavrix/particles/NeighbourGrid.h>

using namespace tavrix;
using test::cloud;
using test::squaredDistance;

namespace
{

std::vector<uint32> near(const Array<Vector3F>& positions, const Vector3D& place, double radius)
{
    std::vector<uint32> found;
    for (uint32 n = 0; n < positions.size(); ++n)
        if (squaredDistance(positions[n], place) < radius * radius) found.push_back(n);
    return found;
}

/// Those of the runs' points that are near, each as often as the runs hold it.
std::vector<uint32> near(const NeighbourGrid& grid, const std::vector<NeighbourGrid::Run>& runs,
                         const Array<Vector3F>& positions, const Vector3D& place, double radius)
{
    std::vector<uint32> found;
    for (const NeighbourGrid::Run& run : runs)
        for (uint32 n = run.begin; n < run.end; ++n)
        {
            const uint32 index = grid.order()[n];
            EXPECT_EQ(grid.coordinates(1)[n], positions[index].y);
            if (squaredDistance(positions[index], place) < radius * radius) found.push_back(index);
        }
    std::sort(found.begin(), found.end());
    return found;
}

}  // namespace

TEST(NeighbourGrid, FindsEveryPointInReachOnce)
{
    const float nan = std::numeric_limits<float>::quiet_NaN();
    struct Case
    {
        Array<Vector3F> positions;
        double cellSize, radius;
    };
    std::vector<Case> cases;
    for (const double cellSize : {0.05, 0.1, 0.3, 5.0}) cases.push_back({cloud(800, 1.0f, 1), cellSize, 0.1});
    // Cells far apart that share a key, beside a dense cloud.
    cases.push_back({cloud(500, 1.0f, 2), 0.05, 0.1});
    for (const float far : {1e3f, -1e6f, 1e12f, 3e38f, -3e38f})
        for (const Vector3F& p : {Vector3F{far, 0.5f, 0.5f}, {0.5f, far, 0.5f}, {far, far, far}})
            cases.back().positions.push_back(p);
    cases.back().positions.push_back({nan, 0, 0});
    cases.back().positions.push_back({0, std::numeric_limits<float>::infinity(), 0});
    // A flat sheet with a query radius of hundreds of cells, and points at one place.
    cases.push_back({cloud(300, 1.0f, 3), 1e-3, 0.4});
    for (Vector3F& p : cases.back().positions) p.z = 0.25f;
    cases.push_back({Array<Vector3F>(20, Vector3F{1, 2, 3}), 0.1, 0.1});

    for (const auto& [positions, cellSize, radius] : cases)
    {
        const NeighbourGrid grid(positions, cellSize, 2);
        std::vector<NeighbourGrid::Run> runs;
        for (uint32 c = 0; c < grid.cellCount(); ++c)
        {
            grid.findRunsOfCell(c, radius, runs);
            const auto place = convert<double>(positions[grid.order()[grid.cell(c).begin]]);
            EXPECT_EQ(near(grid, runs, positions, place, radius), near(positions, place, radius));
        }
        for (const Vector3F& p : cloud(50, 1.2f, 4))
        {
            const Vector3D place = convert<double>(p), reach{radius, radius, radius};
            grid.findRuns({place - reach, place + reach}, runs);
            EXPECT_EQ(near(grid, runs, positions, place, radius), near(positions, place, radius));
        }
    }
}

TEST(NeighbourGrid, IsTheSameForEveryThreadCount)
{
    const Array<Vector3F> positions = cloud(5000, 1.0f, 5);
    const NeighbourGrid first(positions, 0.1, 1);
    for (const uint32 threads : {2u, 3u, 16u})
    {
        const NeighbourGrid grid(positions, 0.1, threads);
        EXPECT_EQ(grid.order(), first.order());
        EXPECT_EQ(grid.cellCount(), first.cellCount());
    }
    const NeighbourGrid empty({}, 1.0, 4);
    std::vector<NeighbourGrid::Run> runs(3);
    empty.findRuns({{0, 0, 0}, {9, 9, 9}}, runs);
    EXPECT_TRUE(runs.empty());
    EXPECT_EQ(empty.size(), 0u);
}
