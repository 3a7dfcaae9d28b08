// A million particles (a jittered block of 100^3, radius 1 in units of their spacing, grid spacing 1/2) to a
// mesh with normals: seconds and peak memory of each stage. Each thread count runs as a process of its own,
// so that peaks are its own: bench_particles [threads]. Of the anisotropic field, with kernels that reach 2.5
// spacings, the library itself tells the phases.

#include <cstdio>
#include <cstdlib>

#include <tavrix/fields/ScalarField3.h>
#include <tavrix/isosurface/IsosurfaceExtractor3.h>
#include <tavrix/mesh/Mesh.h>
#include <tavrix/platform/Hardware.h>
#include <tavrix/platform/Timer.h>

#include "Rows.h"

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

enum class Kind
{
    Distance,
    Metaballs,
    Anisotropic
};

void surface(Kind kind, uint32 threads, const Array<Vector3F>& positions)
{
    constexpr const char* names[] = {"distance", "metaballs", "anisotropic"};
    std::printf("%s, %u thread%s\n", names[static_cast<int>(kind)], threads, threads == 1 ? "" : "s");
    const Array<float> radii(positions.size(), kind == Kind::Anisotropic ? 1.25f : 1.0f);
    const float influence = 20.0f;  // support 1.96 radii
    ScalarField3<float, double> field;
    Mesh mesh;
    const double fieldTime =
        run("field",
            [&]
            {
                field.reset(215, 215, 215, 0.5);
                field.moveTo({49.5, 49.5, 49.5});
                if (kind == Kind::Metaballs)
                    field.setMetaballField(positions, radii, 2.0f, influence, threads, nullptr);
                else if (kind == Kind::Distance)
                    field.setDistanceField(positions, radii, 2.0f, threads, nullptr);
                else
                    field.setAnisotropyDistanceField(positions, radii, 2.5f, threads, nullptr);
            });
    constexpr float levels[] = {0.421875f, 1.0f, 0.885f};
    const float level = levels[static_cast<int>(kind)];
    const double extraction = run(
        "extraction", [&]
        { IsosurfaceExtractor3::extractMesh(field, mesh, level, 0, 0, 0, 0, 0, 0, threads, nullptr, true); });
    benchmark::row(
        benchmark::onThreads(std::string("field of a million particles, ") + names[static_cast<int>(kind)],
                             threads),
        fieldTime * 1e3);
    const double normals = run("normals", [&] { mesh.recalculateNormalsParallelized(threads); });
    std::printf("  together     %7.3f s   %u faces\n", fieldTime + extraction + normals, mesh.getFacesSize());
}

}  // namespace

int main(int count, char** arguments)
{
    const Array<Vector3F> positions = jitteredBlock();
    const uint32 threads =
        count > 1 ? static_cast<uint32>(std::atoi(arguments[1])) : Hardware::getThreadCount();
    for (const Kind kind : {Kind::Distance, Kind::Metaballs, Kind::Anisotropic})
        surface(kind, threads, positions);
    return 0;
}
