// A million particles (a jittered block of 100^3, radius 1 in units of their spacing, grid spacing 1/2) to a
// mesh with normals: seconds and peak memory of each stage. Each thread count runs as a process of its own,
// so that peaks are its own: bench_particles [threads].

#include <cstdio>
#include <cstdlib>

#include <tavrix/fields/ScalarField3.h>
#include <tavrix/isosurface/IsosurfaceExtractor3.h>
#include <tavrix/mesh/Mesh.h>
#include <tavrix/platform/Hardware.h>
#include <tavrix/platform/Timer.h>

using namespace tavrix;

namespace
{

constexpr uint32 side = 100;

/// A lattice shaken by up to a quarter of its spacing.
Array<Vector3F> jitteredBlock()
{
    uint32 state = 1;
    const auto jitter = [&state]
    {
        state = state * 1664525u + 1013904223u;
        return static_cast<float>(state >> 8) / 16777216.0f * 0.5f - 0.25f;
    };
    Array<Vector3F> positions(side * side * side);
    for (uint32 n = 0; n < positions.size(); ++n)
    {
        const auto x = static_cast<float>(n / (side * side)), y = static_cast<float>(n / side % side);
        positions[n] = {x + jitter(), y + jitter(), static_cast<float>(n % side) + jitter()};
    }
    return positions;
}

/// Runs a stage and prints its time and the process's peak memory after it; returns the seconds.
template <class Stage>
double run(const char* name, Stage stage)
{
    Timer timer;
    timer.start();
    stage();
    const double seconds = timer.stop();
    std::printf("  %-12s %7.3f s   peak %6.0f MiB\n", name, seconds, Hardware::getMemoryInfo().processPeak);
    return seconds;
}

void surface(bool metaballs, uint32 threads, const Array<Vector3F>& positions)
{
    std::printf("%s, %u thread%s\n", metaballs ? "metaballs" : "distance", threads, threads == 1 ? "" : "s");
    const Array<float> radii(positions.size(), 1.0f);
    const float influence = 20.0f;  // support 1.96 radii
    ScalarField3<float, double> field;
    Mesh mesh;
    const double fieldTime =
        run("field",
            [&]
            {
                field.reset(215, 215, 215, 0.5);
                field.moveTo({49.5, 49.5, 49.5});
                if (metaballs)
                    field.setMetaballField(positions, radii, 2.0f, influence, threads, nullptr);
                else
                    field.setDistanceField(positions, radii, 2.0f, threads, nullptr);
            });
    const float level = metaballs ? 1.0f : 0.421875f;
    const double extraction = run(
        "extraction", [&]
        { IsosurfaceExtractor3::extractMesh(field, mesh, level, 0, 0, 0, 0, 0, 0, threads, nullptr, true); });
    const double normals = run("normals", [&] { mesh.recalculateNormalsParallelized(threads); });
    std::printf("  together     %7.3f s   %u faces\n", fieldTime + extraction + normals, mesh.getFacesSize());
}

}  // namespace

int main(int count, char** arguments)
{
    const Array<Vector3F> positions = jitteredBlock();
    const uint32 threads =
        count > 1 ? static_cast<uint32>(std::atoi(arguments[1])) : Hardware::getThreadCount();
    surface(false, threads, positions);
    surface(true, threads, positions);
    return 0;
}
