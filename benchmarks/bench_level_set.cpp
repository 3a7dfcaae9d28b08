// Level sets: sampling a closed mesh of about 100,000 faces (a torus) on 128^3 nodes with a band of three,
// redistancing 256^3 nodes from the exact band of a sphere, and diffusing 256^3 samples in both modes; at one
// and two threads, the best of a few runs. Beside OpenVDB's meshToLevelSet and sdfToSdf, with as many
// threads, where it is installed, and a triad a = b + 3 c on arrays as large, which shows the memory's
// bandwidth. `bench_level_set advection [100|200]` is Enright's deformation test alone, which takes minutes:
// its time, and the volume lost, beside OpenVDB's LevelSetAdvection.

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <numbers>
#include <string>
#include <vector>

#include <tavrix/fields/ScalarField3.h>
#include <tavrix/foundation/ParallelFor.h>
#include <tavrix/implicit/ImplicitSurface3Regular.h>
#include <tavrix/implicit/LevelSetAdvection.h>
#include <tavrix/implicit/LevelSetExtraction.h>
#include <tavrix/isosurface/IsosurfaceExtractor3.h>
#include <tavrix/mesh/Mesh.h>
#include <tavrix/mesh/MeshTopology.h>

#include "Measure.h"
#include "Rows.h"

#if defined(TAVRIX_WITH_OPENVDB)
#include "VdbPeer.h"
#endif

using namespace tavrix;
using tavrix::benchmark::leastMilliseconds;
using tavrix::benchmark::onThreads;

namespace
{

using Field = ScalarField3<float, double>;
using Surface = ImplicitSurface3Regular<float>;

/// A torus about the z axis on size^3 nodes from the origin on, in units of nodes, faces outwards.
Mesh makeTorus(uint32 size)
{
    Field field;
    field.reset(size, size, size, 1.0);
    const double middle = (size - 1) / 2.0;
    field.moveTo({middle, middle, middle});
    for (uint32 m = 0; m < field.size(); ++m)
    {
        const Vector3D p = field.getPoint(m) - Vector3D{middle, middle, middle};
        field[m] = static_cast<float>(std::hypot(std::hypot(p.x, p.y) - 0.29 * size, p.z) - 0.17 * size);
    }
    Mesh mesh;
    IsosurfaceExtractor3::extractMesh(field, mesh, 0.0f, 0, 0, 0, 0, 0, 0, true);
    return mesh;
}

void benchSampling(uint32 threads)
{
    constexpr uint32 size = 128;
    const Mesh mesh = makeTorus(size);
    Surface surface;
    const double ours = leastMilliseconds(
        [&]
        {
            surface.init_toZeroSize();
            surface.init(mesh, 1.0, {{0, 0, 0}, {size - 1.0, size - 1.0, size - 1.0}},
                         TX_IMPLICIT_SURFACE_SIGNED, threads);
        });
    std::printf("sampling %u faces on %u^3 nodes\n  init             %8.1f ms\n", mesh.getFacesSize(), size,
                ours);
#if defined(TAVRIX_WITH_OPENVDB)
    std::vector<float> points;
    for (const Vector3D& p : mesh.pos())
        for (uint32 axis = 0; axis < 3; ++axis) points.push_back(static_cast<float>(p[axis]));
    VdbSampling peer{};
    std::vector<double> times;
    for (int run = 0; run < 7; ++run)
    {
        peer = meshToLevelSet(points.data(), mesh.getPosSize(), &mesh.trindexPos()[0].a, mesh.getFacesSize(),
                              static_cast<int>(threads), surface.getField().getDenseSamples(), size);
        times.push_back(peer.seconds * 1e3);
    }
    const double theirs = *std::min_element(times.begin(), times.end());
    std::printf("  meshToLevelSet   %8.1f ms  (%lld active voxels, largest difference %.2g nodes)\n", theirs,
                peer.activeVoxels, peer.largestDifference);
    std::printf("  meshToLevelSet / init = %.1f\n", theirs / ours);
    benchmark::row(onThreads("level set of a mesh, 128^3", threads), ours,
                   {"OpenVDB's meshToLevelSet", theirs, 1});
#else
    benchmark::row(onThreads("level set of a mesh, 128^3", threads), ours);
#endif
}

void benchSweeping(uint32 threads)
{
    constexpr uint32 size = 256;
    constexpr double separation = 2.0 / (size - 1), radius = 0.6;
    Surface band;
    band.reset(size, size, size, separation);
    band.getDefaultValue() = 10;
    Array<float> exact(band.getArraySize());
    for (uint32 m = 0; m < exact.size(); ++m)
    {
        const double d = length(band.getField().getPoint(m)) - radius;
        exact[m] = static_cast<float>(d);
        band.set(m, std::fabs(d) < 2 * separation ? exact[m] : d < 0 ? -10.f : 10.f);
    }
    Surface surface;
    uint32 iterations = 0;
    std::vector<double> times;
    for (int run = 0; run < 5; ++run)
    {
        surface = band;
        times.push_back(leastMilliseconds(
            [&] { iterations = surface.fastSweeping(static_cast<float>(1e-3 * separation), threads); }, 1));
    }
    const double time = *std::min_element(times.begin(), times.end());
    double error = 0;
    for (uint32 m = 0; m < exact.size(); ++m)
        error += std::fabs(double{surface.get(m)} - exact[m]) / exact.size();
    std::printf(
        "redistancing %u^3 nodes\n  fastSweeping     %8.1f ms  (%u iterations, mean error %.2f nodes)\n",
        size, time, iterations, error / separation);
#if defined(TAVRIX_WITH_OPENVDB)
    const VdbSweeping peer = sdfToSdf(band.getField().getDenseSamples(), exact.data(), static_cast<int>(size),
                                      separation, 1, static_cast<int>(threads));
    std::printf("  sdfToSdf         %8.1f ms  (1 iteration, mean error %.2f nodes)\n", peer.seconds * 1e3,
                peer.meanError / separation);
    std::printf("  sdfToSdf / fastSweeping = %.1f\n", peer.seconds * 1e3 / time);
    benchmark::row(onThreads("redistancing of 256^3 nodes", threads), time,
                   {"OpenVDB's sdfToSdf", peer.seconds * 1e3, 1});
#else
    benchmark::row(onThreads("redistancing of 256^3 nodes", threads), time);
#endif
}

/// Milliseconds of a triad on three arrays.
double triadTime(uint32 size, uint32 threads)
{
    Array<float> a(size, 0), b(size, 1), c(size, 2);
    return leastMilliseconds(
        [&]
        {
            parallelFor(size, threads,
                        [&](uint32, uint64 begin, uint64 end)
                        {
                            for (uint64 n = begin; n < end; ++n) a[n] = b[n] + 3 * c[n];
                        });
        });
}

void benchDiffusion(uint32 threads)
{
    constexpr uint32 size = 256;
    Field field;
    field.reset(size, size, size, 1.0);
    for (uint32 m = 0; m < field.size(); ++m) field[m] = static_cast<float>(m % 97);
    const float diffusion = 0.1f / static_cast<float>(field.size());
    const double bytes = sizeof(float) * static_cast<double>(field.size());
    const double bandwidth = 3 * bytes / triadTime(field.size(), threads) / 1e6;
    std::printf("diffusing %u^3 samples\n  triad            %8.1f GB/s\n", size, bandwidth);
    const struct
    {
        const char* name;
        Field::DiffuseDissipateSolverMode mode;
        double traffic;  ///< arrays that are read or written at least
        int runs;
        double goal;  ///< of the triad's bandwidth
    } modes[] = {{"explicit", Field::TX_FIELD_DIFFUSE_EXPLICIT, 2, 7, 0.7},
                 {"implicit", Field::TX_FIELD_DIFFUSE_IMPLICIT, 20 * 3, 3, 0.35}};
    for (const auto& m : modes)
    {
        const double time = leastMilliseconds(
            [&] { field.diffuse_dissipate(1, diffusion, 0, threads, m.mode, -farValue, farValue); }, m.runs);
        std::printf("  %s         %8.1f ms  (%.0f %% of the triad's bandwidth)\n", m.name, time,
                    100 * m.traffic * bytes / time / 1e6 / bandwidth);
        benchmark::row(onThreads(std::string("diffusion of 256^3 samples, ") + m.name, threads), time,
                       {"a triad of as many bytes", m.traffic * bytes / bandwidth / 1e6, 1 / m.goal});
    }
}

/// Enright's deformation in single precision, as the peer's field has it.
Vector3D enrightVelocity(const Vector3D& point, double time)
{
    constexpr float pi = std::numbers::pi_v<float>;
    const float x = pi * static_cast<float>(point.x), y = pi * static_cast<float>(point.y),
                z = pi * static_cast<float>(point.z);
    const float now = std::cos(static_cast<float>(time) * (pi / 3));
    const float a = std::sin(2 * y), b = -std::sin(2 * x), c = std::sin(2 * z);
    const auto squaredSine = [](float v) { return std::sin(v) * std::sin(v); };
    return {now * 2 * squaredSine(x) * a * c, now * b * squaredSine(y) * c, now * b * a * squaredSine(z)};
}

/// A ball as distances in the unit cube.
Surface enrightBall(uint32 size)
{
    const double separation = 1.0 / (size - 1), band = 3 * separation;
    Surface surface;
    surface.reset(size, size, size, separation);
    surface.moveTo({0.5, 0.5, 0.5});
    surface.setBand(static_cast<float>(band));
    for (uint32 m = 0; m < surface.getArraySize(); ++m)
    {
        const double d = length(surface.getField().getPoint(m) - Vector3D{0.35, 0.35, 0.35}) - 0.15;
        surface.set(m, static_cast<float>(std::clamp(d, -band, band)));
    }
    return surface;
}

double volumeOf(const Surface& surface)
{
    Mesh mesh;
    extractClosed(surface, mesh, 2);
    return signedVolume(mesh);
}

/// Enright's test: a ball is drawn out into a thin sheet, and back again.
void benchAdvection(uint32 size, uint32 threads)
{
    const Surface start = enrightBall(size);
    const double volume = volumeOf(start);
    const auto lost = [&](const Surface& surface) { return 100 * (1 - volumeOf(surface) / volume); };
    Surface surface = start;
    LevelSetAdvectionSettings settings;
    settings.threadCount = threads;
    AdvectionReport report;
    const double ours =
        leastMilliseconds([&] { report = advect(surface, enrightVelocity, 0, 3, settings); }, 1);
    std::printf(
        "Enright's test on %u^3 nodes\n  advect           %8.1f ms  (%u steps, %.2f %% of the volume lost)\n",
        size, ours, report.steps, lost(surface));
    const std::string work = onThreads("Enright's test, " + std::to_string(size) + "^3", threads);
#if defined(TAVRIX_WITH_OPENVDB)
    surface = start;
    const VdbAdvection peer = advectInEnrightField(surface.refField().refArrScalars().data(),
                                                   static_cast<int>(size), static_cast<int>(threads));
    std::printf("  LevelSetAdvection %7.1f ms  (%d steps, %.2f %% of the volume lost)\n", peer.seconds * 1e3,
                peer.steps, lost(surface));
    std::printf("  LevelSetAdvection / advect = %.1f\n", peer.seconds * 1e3 / ours);
    benchmark::row(work, ours, {"OpenVDB's LevelSetAdvection", peer.seconds * 1e3, 0.5});
#else
    benchmark::row(work, ours);
#endif
}

}  // namespace

int main(int count, char** arguments)
{
    if (count >= 2 && std::strcmp(arguments[1], "advection") == 0)
    {
        for (const uint32 size : {100u, 200u})
            if (count == 2 || std::to_string(size) == arguments[2]) benchAdvection(size, 2);
        return 0;
    }
    for (const uint32 threads : {1u, 2u})
    {
        std::printf("%u thread%s\n", threads, threads == 1 ? "" : "s");
        benchSampling(threads);
        benchSweeping(threads);
        benchDiffusion(threads);
    }
    return 0;
}
