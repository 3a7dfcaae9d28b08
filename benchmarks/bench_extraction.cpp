// Surface extraction from a 256^3 gyroid (four periods a side, level 0): without and with clean-up, and the
// normals, at one and two threads; beside vtkFlyingEdges3D (points only, as many threads) where VTK is
// installed. The best of seven runs.

#include <cstdio>
#include <cstdlib>

#include <tavrix/fields/ScalarField3.h>
#include <tavrix/isosurface/IsosurfaceExtractor3.h>
#include <tavrix/mesh/Mesh.h>

#include "Gyroid.h"
#include "Measure.h"
#include "Rows.h"

#if defined(TAVRIX_WITH_VTK)
#include "VtkPeer.h"
#endif

using namespace tavrix;
using tavrix::benchmark::leastMilliseconds;
using tavrix::benchmark::onThreads;

namespace
{

using Field = ScalarField3<float, double>;

double extractionTime(const Field& field, uint32 threads, bool cleanUp)
{
    return leastMilliseconds(
        [&]
        {
            Mesh mesh;
            IsosurfaceExtractor3::extractMesh(field, mesh, 0.0f, 0, 0, 0, 0, 0, 0, threads, nullptr, cleanUp);
        });
}

double normalsTime(const Field& field, uint32 threads)
{
    Mesh mesh;
    IsosurfaceExtractor3::extractMesh(field, mesh, 0.0f, 0, 0, 0, 0, 0, 0, threads, nullptr, false);
    return leastMilliseconds([&] { mesh.recalculateNormalsParallelized(threads); });
}

#if defined(TAVRIX_WITH_VTK)
double flyingEdgesTime(const Field& field, uint32 threads)
{
    long long faces = 0;
    const double time = leastMilliseconds(
        [&]
        {
            faces = flyingEdges(field.getArrScalars().data(), static_cast<int>(field.sizeX()),
                                static_cast<int>(threads));
        });
    std::printf("  vtkFlyingEdges3D  %8.1f ms  (%lld faces)\n", time, faces);
    return time;
}
#endif

}  // namespace

int main(int count, char** arguments)
{
    const uint32 size = count > 1 ? static_cast<uint32>(std::atoi(arguments[1])) : 256;
    const Field field = benchmark::gyroid(size);
    Mesh mesh;
    IsosurfaceExtractor3::extractMesh(field, mesh, 0.0f, 0, 0, 0, 0, 0, 0, false);
    std::printf("gyroid %u^3: %u vertices, %u faces\n", size, mesh.getPosSize(), mesh.getFacesSize());
    double onOne = 0;
    for (const uint32 threads : {1u, 2u})
    {
        std::printf("%u thread%s\n", threads, threads == 1 ? "" : "s");
        const double extraction = extractionTime(field, threads, false);
        const double cleaned = extractionTime(field, threads, true);
        std::printf("  extraction        %8.1f ms\n", extraction);
        std::printf("  with clean-up     %8.1f ms  (clean-up %.2f of the extraction)\n", cleaned,
                    (cleaned - extraction) / extraction);
        const double normals = normalsTime(field, threads);
        std::printf("  normals           %8.1f ms\n", normals);
        benchmark::row(onThreads("normals of its mesh", threads), normals);
        benchmark::row(onThreads("clean-up after it", threads), cleaned - extraction,
                       {"the extraction", extraction, 0.35});
        if (threads == 1) onOne = extraction;
        if (threads == 2)
            benchmark::row("extraction of 256^3 nodes on two threads", extraction,
                           {"on one", onOne, benchmark::onTwoThreads});
#if defined(TAVRIX_WITH_VTK)
        const double peer = flyingEdgesTime(field, threads);
        std::printf("  extraction / vtkFlyingEdges3D = %.2f\n", extraction / peer);
        benchmark::row(onThreads("extraction of 256^3 nodes", threads), extraction,
                       {"vtkFlyingEdges3D", peer, 1});
#else
        benchmark::row(onThreads("extraction of 256^3 nodes", threads), extraction);
#endif
    }
    return 0;
}
