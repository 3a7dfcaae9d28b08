// The nodes inside a bumpy torus of a million faces, on grids of cubic cells with 256 and 400 of them along
// its longest side; in milliseconds, the best of several runs. Beside it vtkPolyDataToImageStencil, when
// installed, which finds runs of nodes as well, on one thread. The torus lies flat, which makes few slices
// for VTK to cut. Fails when more than a thousandth of the nodes inside differ.

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

#include <tavrix/implicit/MeshVoxels.h>

#include "Measure.h"
#include "Rows.h"
#include "Torus.h"
#if defined(TAVRIX_WITH_VTK)
#include "VoxelPeer.h"
#endif

using namespace tavrix;

namespace
{

/// Cubic cells around the torus, so many along its longest side.
GridDescription3<double> gridAround(const Mesh& torus, uint32 cells)
{
    const Box3D box = boxAround(torus.pos());
    const Vector3D sides = box.max - box.min;
    const double edge = std::max({sides.x, sides.y, sides.z}) / cells;
    const auto sizeOf = [&](double side) { return static_cast<uint32>(std::ceil(side / edge)) + 2; };
    auto grid = GridDescription3<double>::centered(sizeOf(sides.x), sizeOf(sides.y), sizeOf(sides.z),
                                                   {edge, edge, edge});
    grid.moveTo(box.center());
    return grid;
}

#if defined(TAVRIX_WITH_VTK)
/// Prints how many nodes VTK finds inside and how many are other ones. Whether these are few.
bool isAlike(const MeshVoxels& voxels, const std::vector<uint8>& others)
{
    Array<uint8> nodes;
    voxels.fill(nodes);
    uint64 found = 0, different = 0;
    for (uint32 n = 0; n < nodes.size(); ++n) found += others[n], different += nodes[n] != others[n];
    const double share = static_cast<double>(different) / static_cast<double>(voxels.count());
    std::printf("  VTK finds %llu inside; %llu are other ones, a share of %.2g\n",
                static_cast<unsigned long long>(found), static_cast<unsigned long long>(different), share);
    return share <= 0.001;
}
#endif

bool compare(const Mesh& torus, uint32 cells)
{
    const GridDescription3<double> grid = gridAround(torus, cells);
    const std::string what = std::to_string(cells) + " cells long";
    std::printf("%u x %u x %u nodes\n", grid.sizeX, grid.sizeY, grid.sizeZ);
    MeshVoxels voxels;
    double unit = 0;
    for (const uint32 threads : {1u, 2u})
    {
        const double time = benchmark::leastMilliseconds([&] { voxelize(torus, grid, voxels, threads); }, 3);
        if (threads == 1) unit = time;
        if (threads == 2) benchmark::row("voxels on two threads, " + what, time, {"on one", unit, 0});
        std::printf("  tavrix, %u thread%s %9.1f ms  %5.2f  %llu nodes inside, in %u runs\n", threads,
                    threads == 1 ? " " : "s", time, time / unit,
                    static_cast<unsigned long long>(voxels.count()), voxels.spans.size());
    }
#if defined(TAVRIX_WITH_VTK)
    VoxelPeer peer(&torus.pos()[0].x, torus.getPosSize(), &torus.trindexPos()[0].a, torus.getFacesSize());
    const auto toInt = [](uint32 size) { return static_cast<int>(size); };
    const VoxelPeer::Grid same{{grid.box.min.x, grid.box.min.y, grid.box.min.z},
                               {grid.separation.x, grid.separation.y, grid.separation.z},
                               {toInt(grid.sizeX), toInt(grid.sizeY), toInt(grid.sizeZ)}};
    const double time = benchmark::leastMilliseconds([&] { peer.voxelize(same); }, 3);
    std::printf("  VTK, 1 thread     %9.1f ms  %5.2f\n", time, time / unit);
    benchmark::row("voxels of a million faces, " + what, unit, {"vtkPolyDataToImageStencil", time, 1});
    return isAlike(voxels, peer.nodes());
#else
    std::printf("  built without VTK\n");
    benchmark::row("voxels of a million faces, " + what, unit);
    return true;
#endif
}

}  // namespace

int main()
{
    const Mesh torus = benchmark::bumpyTorus(707);
    bool areAlike = true;
    for (const uint32 cells : {256u, 400u}) areAlike = compare(torus, cells) && areAlike;
    if (!areAlike) std::printf("too many nodes differ\n");
    return areAlike ? 0 : 1;
}
