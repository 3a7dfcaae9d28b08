// Level sets. Sampling: the signed distance from a closed mesh of about 100,000 faces (a torus) on 128^3
// nodes with a band of three nodes, at one and two threads; beside OpenVDB's meshToLevelSet (the band alone,
// as many threads) where it is installed. And one face across a large grid. Median of seven runs.

#include <cmath>
#include <cstdio>
#include <vector>

#include <tavrix/fields/ScalarField3.h>
#include <tavrix/implicit/detail/MeshDistance.h>
#include <tavrix/implicit/detail/MeshInside.h>
#include <tavrix/isosurface/IsosurfaceExtractor3.h>
#include <tavrix/mesh/Mesh.h>

#include "Measure.h"

#if defined(TAVRIX_WITH_OPENVDB)
#include "VdbPeer.h"
#endif

using namespace tavrix;
using tavrix::benchmark::medianMilliseconds;

namespace
{

constexpr uint32 size = 128;

/// A torus about the z axis on size^3 nodes from the origin on, in units of nodes, faces outwards.
Mesh makeTorus()
{
    ScalarField3<float, double> field;
    field.reset(size, size, size, 1.0);
    const double middle = (size - 1) / 2.0;
    field.moveTo({middle, middle, middle});
    for (uint32 m = 0; m < field.size(); ++m)
    {
        const Index3 n = field.getIndexes(m);
        const double x = n.a - middle, y = n.b - middle, z = n.c - middle;
        field[m] = static_cast<float>(std::hypot(std::hypot(x, y) - 0.29 * size, z) - 0.17 * size);
    }
    Mesh mesh;
    IsosurfaceExtractor3::extractMesh(field, mesh, 0.0f, 0, 0, 0, 0, 0, 0, true);
    return mesh;
}

/// One face across 256^3 nodes: rows that it is far from must cost next to nothing.
void sampleLargeFace()
{
    const auto grid = GridDescription3<double>::centered(256, 256, 256, {1, 1, 1});
    Mesh mesh;
    mesh.refPos() = {{-128, -128, -128}, {128, -128, 100}, {0, 128, 128}};
    const auto time = [&]
    {
        return medianMilliseconds(
            [&]
            {
                Array<float> samples(grid.size);
                detail::sampleDistance(mesh, grid, 3.0f, 1, nullptr, samples.data());
            });
    };
    const double empty = time();
    mesh.refTrindexPos() = {{0, 1, 2}};
    std::printf("one face across 256^3 nodes, 1 thread: %.1f ms, no face: %.1f ms\n", time(), empty);
}

}  // namespace

int main()
{
    sampleLargeFace();
    const Mesh mesh = makeTorus();
    auto grid = GridDescription3<double>::centered(size, size, size, {1, 1, 1});
    grid.moveTo({(size - 1) / 2.0, (size - 1) / 2.0, (size - 1) / 2.0});
    std::printf("sampling %u faces on %u^3 nodes\n", mesh.getFacesSize(), size);
    for (const uint32 threads : {1u, 2u})
    {
        Array<float> samples;
        const double distance = medianMilliseconds(
            [&]
            {
                samples = Array<float>(grid.size);
                detail::sampleDistance(mesh, grid, 3.0f, threads, nullptr, samples.data());
            });
        // In place: an odd number of runs leaves the inside negative.
        const double sign =
            medianMilliseconds([&] { detail::negateInside(mesh, grid, threads, nullptr, samples.data()); });
        std::printf("%u thread%s\n", threads, threads == 1 ? "" : "s");
        std::printf("  distance         %8.1f ms\n", distance);
        std::printf("  sign             %8.1f ms\n", sign);
#if defined(TAVRIX_WITH_OPENVDB)
        std::vector<float> points;
        for (const Vector3D& p : mesh.pos())
            for (uint32 axis = 0; axis < 3; ++axis) points.push_back(static_cast<float>(p[axis]));
        VdbSampling peer{};
        std::vector<double> times;
        for (int run = 0; run < 7; ++run)
        {
            peer = meshToLevelSet(points.data(), mesh.getPosSize(), &mesh.trindexPos()[0].a,
                                  mesh.getFacesSize(), static_cast<int>(threads), samples.data(), size);
            times.push_back(peer.seconds * 1e3);
        }
        std::nth_element(times.begin(), times.begin() + 3, times.end());
        std::printf("  meshToLevelSet   %8.1f ms  (%lld active voxels, largest difference %.2g nodes)\n",
                    times[3], peer.activeVoxels, peer.largestDifference);
        std::printf("  sampling / meshToLevelSet = %.2f\n", (distance + sign) / times[3]);
#endif
    }
    return 0;
}
