#include <gtest/gtest.h>

#include <particles/Clouds.h>
#include <tavrix/particles/NeighbourGrid.h>

using namespace tavrix;

// What it finds shows in the neighbours of particles.
TEST(NeighbourGrid, IsTheSameForEveryThreadCount)
{
    const Array<Vector3F> positions = test::cloud(5000, 1.0f, 5);
    const NeighbourGrid first(positions, 0.1, 1);
    for (uint32 n = 0; n < first.size(); ++n)
        EXPECT_EQ(first.coordinates(1)[n], positions[first.order()[n]].y);
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
