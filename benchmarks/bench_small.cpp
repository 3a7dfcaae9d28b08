// Small work on many threads, which must not take longer than on one: a field of 32^3 nodes, a mesh of a
// thousand faces and a thousand questions, on one thread and on sixteen. Microseconds, the best of many runs,
// by turns.

#include <algorithm>
#include <cstdio>
#include <string>

#include <tavrix/tavrix.h>

#include "Gyroid.h"
#include "Rows.h"
#include "Torus.h"

using namespace tavrix;

namespace
{

constexpr uint32 many = 16, size = 32;

/// The milliseconds of the fastest of some hundreds of runs of work(threads), each after prepare().
template <class Prepare, class Work>
void measure(const char* what, Prepare prepare, Work work)
{
    double least[] = {1e300, 1e300};
    for (uint32 run = 0; run < 400; ++run)
        for (const uint32 which : {0u, 1u})
        {
            prepare();
            Timer timer;
            timer.start();
            work(which == 0 ? 1 : many);
            least[which] = std::min(least[which], timer.stop() * 1e3);
        }
    std::printf("%-40s %9.1f us on one thread, %9.1f on sixteen: %.2f\n", what, least[0] * 1e3,
                least[1] * 1e3, least[1] / least[0]);
    // what a clock reads of the same work twice
    constexpr double alike = 1.05;
    benchmark::row(std::string("small: ") + what + ", 16 threads", least[1], {"on one", least[0], alike});
}

template <class Work>
void measure(const char* what, Work work)
{
    measure(
        what, [] {}, work);
}

Array<Vector3F> someParticles()
{
    Array<Vector3F> positions;
    for (uint32 n = 0; n < 500; ++n)
        positions.push_back({static_cast<float>(n % 8) * 2 - 7, static_cast<float>(n / 8 % 8) * 2 - 7,
                             static_cast<float>(n / 64) * 2 - 7});
    return positions;
}

void measureFields()
{
    const Array<Vector3F> positions = someParticles();
    const Array<float> radii(positions.size(), 1.5f);
    using Field = ScalarField3<float, double>;
    Field field;
    field.reset(size, size, size, 1.0);
    measure("metaballs in 32^3 nodes",
            [&](uint32 threads) { field.setMetaballField(positions, radii, 2.0f, 20.0f, threads, nullptr); });
    measure("distances in 32^3 nodes",
            [&](uint32 threads) { field.setDistanceField(positions, radii, 2.0f, threads, nullptr); });
    Field gyroid = benchmark::gyroid(size);
    measure(
        "explicit diffusion of 32^3 samples", [&](uint32 threads)
        { gyroid.diffuse_dissipate(1, 1e-6f, 0, threads, Field::TX_FIELD_DIFFUSE_EXPLICIT, -1e9f, 1e9f); });
    gyroid = benchmark::gyroid(size);
    Mesh mesh;
    measure(
        "extraction from 32^3 nodes", [&](uint32 threads)
        { IsosurfaceExtractor3::extractMesh(gyroid, mesh, 0.0f, 0, 0, 0, 0, 0, 0, threads, nullptr, true); });
    measure("reconstruction from 500 particles", [&](uint32 threads)
            { reconstructSurface(positions, mesh, {.radius = 1, .spacing = 1, .threadCount = threads}); });
}

void measureMeshes()
{
    const Mesh torus = benchmark::bumpyTorus(22);
    Mesh mesh = torus;
    measure("normals of a thousand faces",
            [&](uint32 threads) { mesh.recalculateNormalsParallelized(threads); });
    Array<Vector3D> positions;
    measure(
        "smoothing of a thousand faces", [&] { positions = torus.pos(); },
        [&](uint32 threads)
        { fairPositions(positions, torus.trindexPos(), {.passes = 10, .threadCount = threads}); });
    measure(
        "decimation of a thousand faces", [&] { mesh = torus; },
        [&](uint32 threads) { decimateMesh(mesh, {.ratio = 0.5, .threadCount = threads}); });
    ImplicitSurface3Regular<float> surface;
    measure(
        "level set of a thousand faces", [&] { surface.init_toZeroSize(); },
        [&](uint32 threads) { surface.init(torus, size, TX_IMPLICIT_SURFACE_SIGNED, threads); });
    measure("redistancing of its nodes", [&](uint32 threads) { surface.fastSweeping(1e-3f, threads); });
    MeshCollider collider;
    measure("tree over a thousand faces", [&](uint32 threads) { collider.create(torus, threads); });
    Array<Vector3D> points;
    for (const Vector3D& p : torus.pos()) points.push_back({p.x * 1.1, p.y * 1.1, p.z + 0.1});
    Array<MeshPoint> nearest;
    measure("nearest of 500 points", [&](uint32 threads)
            { collider.nearestPoints(points, nearest, std::numeric_limits<double>::infinity(), threads); });
    Array<uint8> inside;
    measure("insides of 500 points", [&](uint32 threads) { collider.areInside(points, inside, threads); });
}

}  // namespace

int main()
{
    measureFields();
    measureMeshes();
    return 0;
}
