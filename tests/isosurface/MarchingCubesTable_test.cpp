#include <tavrix/isosurface/detail/MarchingCubesTable.h>

#include <gtest/gtest.h>

#include <map>

using namespace tavrix;
using namespace tavrix::detail;

namespace
{

bool inside(uint32 cubeCase, uint32 corner) { return cubeCase >> corner & 1; }

/// Whether both edges lie on one face of the cell: neither runs along its axis, and they lie on one side.
bool onOneFace(uint32 e, uint32 f)
{
    const CellEdge &a = cellEdges[e], &b = cellEdges[f];
    return (a.axis != 0 && b.axis != 0 && a.dx == b.dx) || (a.axis != 1 && b.axis != 1 && a.dy == b.dy) ||
           (a.axis != 2 && b.axis != 2 && a.dz == b.dz);
}

}  // namespace

TEST(MarchingCubesTable, PatchesUseTheCrossedEdgesAndEndOnCellFaces)
{
    for (uint32 c = 0; c < 256; ++c)
    {
        SCOPED_TRACE(c);
        const MarchingCubesCase& entry = marchingCubesCases[c];
        uint32 crossed = 0;
        for (uint32 e = 0; e < 12; ++e)
            if (inside(c, cellEdgeCorners[e][0]) != inside(c, cellEdgeCorners[e][1])) crossed |= 1u << e;
        EXPECT_EQ(entry.edgeMask, crossed);
        std::map<std::pair<uint32, uint32>, int> sides;
        for (uint32 n = 0; n < 3u * entry.triangleCount; ++n)
            ++sides[{entry.corners[n], entry.corners[n % 3 == 2 ? n - 2 : n + 1]}];
        for (const auto& [side, count] : sides)
        {
            EXPECT_EQ(count, 1);
            EXPECT_TRUE(sides.count({side.second, side.first}) || onOneFace(side.first, side.second));
        }
    }
}

TEST(MarchingCubesTable, KnownRows)
{
    const auto row = [](uint32 c)
    {
        return std::vector<int>(
            marchingCubesCases[c].corners.begin(),
            marchingCubesCases[c].corners.begin() + marchingCubesCases[c].triangleCount * 3);
    };
    EXPECT_EQ(row(0), std::vector<int>());
    EXPECT_EQ(row(1), (std::vector<int>{0, 8, 3}));
    EXPECT_EQ(row(3), (std::vector<int>{1, 8, 3, 9, 8, 1}));
    EXPECT_EQ(row(254), (std::vector<int>{0, 3, 8}));
    EXPECT_EQ(row(255), std::vector<int>());
}
