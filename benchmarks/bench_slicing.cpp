// Slices of a torus of a million faces at a hundred and at a thousand heights, from faces to polygons that
// tell their holes; in milliseconds, the best of several runs. CGAL's slicer, when installed, gives loops
// alone.

#include <cmath>
#include <cstdio>
#include <vector>

#include <tavrix/tavrix.h>

#include "Measure.h"
#include "Rows.h"
#include "SlicingPeer.h"
#include "Torus.h"

using namespace tavrix;

namespace
{

/// Of tube radius 1, whose middle lies 2 away, give or take a wave.
Mesh makeTorus(uint32 n)
{
    return benchmark::wrappedGrid(n,
                                  [](double u, double v)
                                  {
                                      const double r = 2 + std::cos(v) + 0.1 * std::cos(20 * u);
                                      return Vector3D{r * std::cos(u), r * std::sin(u), std::sin(v)};
                                  });
}

struct Sums
{
    uint64 loops = 0, points = 0;
};

Sums sumsOf(const MeshSlices& slices)
{
    Sums sums;
    for (const MeshSlice& slice : slices.slices)
        for (const Polygonum& loop : slice.polygons) ++sums.loops, sums.points += loop.size();
    return sums;
}

void compare(const Mesh& mesh, uint32 axis, uint32 count)
{
    std::vector<double> heights;
    const SliceFrame frame = SliceFrame::alongAxis(axis);
    const auto [low, high] = heightsOf(mesh, frame);
    for (uint32 n = 0; n < count; ++n) heights.push_back(low + (high - low) * (n + 0.5) / count);
    const std::string what = std::to_string(count) + " along " + "xyz"[axis];
    std::printf("%u heights along %c\n", count, "xyz"[axis]);
    double unit = 0;
    for (const uint32 threads : {1u, 2u})
    {
        Sums sums;
        const auto slice = [&] { sums = sumsOf(sliceMesh(mesh, frame, heights, {.threadCount = threads})); };
        const double time = benchmark::leastMilliseconds(slice, 5);
        if (threads == 1) unit = time;
        if (threads == 2) benchmark::row("slices on two threads, " + what, time, {"on one", unit, 0});
        std::printf("  tavrix, %u thread%s %9.1f ms  %5.2f  %llu loops of %llu points\n", threads,
                    threads == 1 ? " " : "s", time, time / unit, static_cast<unsigned long long>(sums.loops),
                    static_cast<unsigned long long>(sums.points));
    }
#if defined(TAVRIX_WITH_CGAL)
    const SlicingPeer peer(&mesh.pos()[0].x, mesh.getPosSize(), &mesh.trindexPos()[0].a, mesh.getFacesSize());
    SlicingPeer::Sums sums{};
    const double time = benchmark::leastMilliseconds([&] { sums = peer.slice(axis, heights); }, 3);
    std::printf("  CGAL, 1 thread    %9.1f ms  %5.2f  %lld loops of %lld points\n", time, time / unit,
                sums.loops, sums.points);
    benchmark::row("slices of a million faces, " + what, unit, {"CGAL", time, 1});
#else
    std::printf("  built without CGAL\n");
#endif
}

}  // namespace

int main()
{
    const Mesh torus = makeTorus(708);
    for (const uint32 axis : {2u, 0u})
        for (const uint32 count : {100u, 1000u}) compare(torus, axis, count);
    return 0;
}
