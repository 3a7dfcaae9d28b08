// How true surfaces of particles are: bench_quality for shapes, bench_quality FILE... for particle files.
//
// Shapes whose surface is known are filled with particles, a lattice 0.05 apart, jittered by up to 0.015, of
// which those inside count: they hold count times spacing cubed. For each shape and each way to make the
// surface: the mean distance of the vertices from the true surface (offset) and its deviation (rough), in
// radii of the particles (0.025); the volume beside the particles'; the mean angle of the faces to the true
// surface, by area (normal); and the deviation between the surfaces of the particles and of the same moved by
// a third of the lattice's spacing along each axis (flicker). Over three placements of the lattice.
//
// Of each file, in the same ways: the volume beside the particles' (count times their estimated spacing
// cubed), parts and cavities, edges and vertices that are no manifold's, the mean angle between faces that
// share an edge, and how far the vertices of the mesh with a tenth of the faces lie from it.

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <functional>
#include <map>
#include <random>
#include <vector>

#include <tavrix/mesh/MeshCavities.h>
#include <tavrix/mesh/MeshTopology.h>
#include <tavrix/particles/ParticleSystem_v3.h>
#include <tavrix/platform/Timer.h>
#include <tavrix/reconstruction/SurfaceReconstruction.h>
#include <tavrix/spatial/MeshCollider.h>

using namespace tavrix;

namespace
{

constexpr double spacing = 0.05, radius = 0.025, jitter = 0.015;
constexpr double degree = 57.29577951308232;

/// A closed surface by its signed distance, negative inside.
struct Shape
{
    const char* name;
    std::function<double(const Vector3D&)> distance;
};

double toBox(const Vector3D& p, const Vector3D& half)
{
    const Vector3D d{std::fabs(p.x) - half.x, std::fabs(p.y) - half.y, std::fabs(p.z) - half.z};
    const Vector3D outside{std::max(d.x, 0.0), std::max(d.y, 0.0), std::max(d.z, 0.0)};
    return length(outside) + std::min(std::max({d.x, d.y, d.z}), 0.0);
}

Shape ball(const char* name, double size)
{
    return {name, [size](const Vector3D& p) { return length(p) - size; }};
}

Shape roundedBox(const char* name, const Vector3D& half, double edge)
{
    const Vector3D inner{half.x - edge, half.y - edge, half.z - edge};
    return {name, [inner, edge](const Vector3D& p) { return toBox(p, inner) - edge; }};
}

std::vector<Shape> shapes()
{
    return {ball("sphere 0.8", 0.8),
            {"torus 0.7, 0.3",
             [](const Vector3D& p) { return std::hypot(std::hypot(p.x, p.y) - 0.7, p.z) - 0.3; }},
            {"capsule 0.25",
             [](const Vector3D& p) {
                 return length(Vector3D{p.x, p.y, p.z - std::clamp(p.z, -0.6, 0.6)}) - 0.25;
             }},
            roundedBox("rounded box 0.1", {0.7, 0.5, 0.4}, 0.1),
            roundedBox("box", {0.7, 0.5, 0.4}, 0),
            roundedBox("sheet of 4", {1, 1, 0.1}, 0.08),
            roundedBox("sheet of 2", {1, 1, 0.05}, 0.04),
            {"shell", [](const Vector3D& p) { return std::fabs(length(p) - 0.7) - 0.1; }},
            ball("drop of 525", 0.25),
            ball("drop of 270", 0.2),
            ball("drop of 120", 0.15),
            ball("drop of 35", 0.1)};
}

/// The particles of a shape; the lattice has a particle at `place`, a fraction of the spacing.
Array<Vector3F> fill(const Shape& shape, const Vector3D& place, uint32 seed)
{
    std::mt19937 engine{seed};
    const auto away = [&] { return (static_cast<double>(engine()) / 4294967295.0 * 2 - 1) * jitter; };
    Array<Vector3F> particles;
    constexpr int half = 24;
    for (int i = -half; i < half; ++i)
        for (int j = -half; j < half; ++j)
            for (int k = -half; k < half; ++k)
            {
                const double x = (i + place.x) * spacing + away(), y = (j + place.y) * spacing + away(),
                             z = (k + place.z) * spacing + away();
                if (shape.distance({x, y, z}) < 0) particles.push_back(convert<float>(Vector3D{x, y, z}));
            }
    return particles;
}

Vector3D gradient(const Shape& shape, const Vector3D& p)
{
    constexpr double e = 1e-5;
    const auto along = [&](const Vector3D& d) { return shape.distance(p + d) - shape.distance(p - d); };
    return unitOrZero(Vector3D{along({e, 0, 0}), along({0, e, 0}), along({0, 0, e})});
}

/// Sums of numbers and of their squares.
struct Spread
{
    double sum = 0, squares = 0, weight = 0;

    void add(double value, double w = 1)
    {
        sum += w * value;
        squares += w * value * value;
        weight += w;
    }
    double mean() const { return sum / weight; }
    double deviation() const { return std::sqrt(std::max(squares / weight - mean() * mean(), 0.0)); }
};

struct Figures
{
    double offset, volume, rough, normal, flicker, milliseconds;
};

Mesh surfaceOf(const Array<Vector3F>& particles, const ReconstructionSettings& settings)
{
    Mesh mesh;
    reconstructSurface(particles, mesh, settings);
    return mesh;
}

/// How far the surfaces of the particles and of the same moved lie apart.
double flickerOf(const Array<Vector3F>& particles, Mesh& mesh, const ReconstructionSettings& settings)
{
    const double way = *settings.spacing / 3;
    Array<Vector3F> moved = particles;
    for (Vector3F& p : moved) p = convert<float>(convert<double>(p) + Vector3D{way, way, way});
    const Mesh other = surfaceOf(moved, settings);
    MeshCollider collider;
    collider.create(mesh);
    Spread apart;
    for (const Vector3D& p : other.pos())
    {
        const Vector3D back = p - Vector3D{way, way, way};
        const auto nearest = collider.nearestPoint(back);
        apart.add(nearest ? length(nearest->position - back) : 0);
    }
    return std::sqrt(apart.squares / apart.weight) / radius;
}

Figures measure(const Shape& shape, const Vector3D& place, uint32 seed, const ReconstructionSettings& given)
{
    const Array<Vector3F> particles = fill(shape, place, seed);
    const ReconstructionSettings settings = settledFor(given, particles);
    Timer timer;
    timer.start();
    Mesh mesh = surfaceOf(particles, settings);
    const double seconds = timer.stop();
    Spread distance, angle;
    for (const Vector3D& p : mesh.pos()) distance.add(shape.distance(p) / radius);
    for (const Index3& f : mesh.trindexPos())
    {
        const Vector3D a = mesh.pos()[f.a], b = mesh.pos()[f.b], c = mesh.pos()[f.c];
        const Vector3D normal = cross(b - a, c - a);
        if (length(normal) == 0) continue;
        const double cosine = dot(unitOrZero(normal), gradient(shape, (a + b + c) / 3.0));
        angle.add(std::acos(std::clamp(cosine, -1.0, 1.0)) * degree, length(normal));
    }
    const double held = particles.size() * spacing * spacing * spacing;
    return {distance.mean(), (signedVolume(mesh) / held - 1) * 100, distance.deviation(),
            angle.mean(),    flickerOf(particles, mesh, settings),  seconds * 1000};
}

struct Way
{
    const char* name;
    ReconstructionSettings settings;
};

void compareShapes(const std::vector<Way>& ways)
{
    const Vector3D places[] = {{0.5, 0.5, 0.5}, {0.27, 0.61, 0.83}, {0.9, 0.35, 0.08}};
    for (const Way& way : ways)
    {
        std::printf("%s\n%18s %8s %8s %8s %8s %8s %8s\n", way.name, "", "offset", "volume", "rough", "normal",
                    "flicker", "ms");
        for (const Shape& shape : shapes())
        {
            // walls along the lattice lie between its layers, or the particles would not hold their volume
            const bool isAligned = shape.distance({0, 0, 2}) == shape.distance({0.3, 0.3, 2});
            Figures mean{};
            for (uint32 n = 0; n < 3; ++n)
            {
                const Figures f = measure(shape, places[isAligned ? 0 : n], n, way.settings);
                double* const sums[] = {&mean.offset, &mean.volume,  &mean.rough,
                                        &mean.normal, &mean.flicker, &mean.milliseconds};
                const double values[] = {f.offset, f.volume, f.rough, f.normal, f.flicker, f.milliseconds};
                for (uint32 i = 0; i < 6; ++i) *sums[i] += values[i] / 3;
            }
            std::printf("%18s %+6.2f r %+6.1f %% %6.2f r %6.1f ° %6.3f r %6.0f\n", shape.name, mean.offset,
                        mean.volume, mean.rough, mean.normal, mean.flicker, mean.milliseconds);
        }
    }
}

/// The mean angle between faces that share an edge, in degrees.
double meanBend(const Mesh& mesh)
{
    std::map<std::pair<uint32, uint32>, Vector3D> normals;
    Spread angle;
    for (const Index3& f : mesh.trindexPos())
    {
        const Vector3D a = mesh.pos()[f.a];
        const Vector3D normal = unitOrZero(cross(mesh.pos()[f.b] - a, mesh.pos()[f.c] - a));
        for (uint32 c = 0; c < 3; ++c)
        {
            const uint32 from = f[c], to = f[(c + 1) % 3];
            const auto [found, isNew] = normals.try_emplace(std::minmax(from, to), normal);
            if (!isNew) angle.add(std::acos(std::clamp(dot(found->second, normal), -1.0, 1.0)) * degree);
        }
    }
    return angle.mean();
}

uint32 faultsOf(const Mesh& mesh)
{
    const MeshTopology t = computeTopology(mesh);
    return t.boundaryEdgeCount + t.nonManifoldEdgeCount + t.nonManifoldVertexCount;
}

void compareFrame(const char* file, const std::vector<Way>& ways)
{
    ParticleSystem_v3 system;
    system.load_BIN(file);
    const Array<Vector3F> particles = system.getArrPosition();
    std::printf("%s, %u particles\n%12s %9s %8s %6s %9s %7s %7s %22s\n", file, particles.size(), "", "faces",
                "volume", "parts", "cavities", "faults", "bend", "a tenth: worst, mean");
    if (particles.empty()) return;
    for (const Way& way : ways)
    {
        ReconstructionSettings settings = way.settings;
        settings.radius = {};
        settings = settledFor(settings, particles);
        Mesh mesh = surfaceOf(particles, settings);
        settings.decimation = 0.1;
        const Mesh light = surfaceOf(particles, settings);
        MeshCollider collider;
        collider.create(mesh);
        double worst = 0;
        Spread apart;
        for (const Vector3D& p : light.pos())
        {
            apart.add(length(collider.nearestPoint(p)->position - p) / *settings.radius);
            worst = std::max(worst, length(collider.nearestPoint(p)->position - p) / *settings.radius);
        }
        const double held = particles.size() * std::pow(*settings.particleSpacing, 3);
        const PartCounts counts = countPartsAndCavities(mesh);
        std::printf("%12s %9u %+6.1f %% %6u %9u %7u %5.1f ° %10.2f r %7.3f r\n", way.name,
                    mesh.getFacesSize(), (signedVolume(mesh) / held - 1) * 100, counts.parts, counts.cavities,
                    faultsOf(mesh) + faultsOf(light), meanBend(mesh), worst, apart.mean());
    }
}

}  // namespace

int main(int argc, char** argv)
{
    ReconstructionSettings normal{.radius = radius, .threadCount = 2}, smooth = normal, anisotropic = normal;
    smooth.quality = SurfaceQuality::Smooth;
    anisotropic.kernel = SurfaceKernel::Anisotropic;
    const std::vector<Way> ways{{"default", normal}, {"smooth", smooth}, {"anisotropic", anisotropic}};
    if (argc == 1) compareShapes(ways);
    for (int n = 1; n < argc; ++n) compareFrame(argv[n], ways);
}
