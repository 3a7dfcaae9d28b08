// Builds trees over a bumpy torus of 10^4, 10^5 and 10^6 faces, and asks them: the time of building, the
// nodes that a ray visits beside a tree built by the surface-area heuristic, rays and nearest points a
// second, and Embree with the same rays, everything but one build on one thread.
#include <cmath>
#include <cstdio>
#include <random>
#include <span>

#include <tavrix/platform/Hardware.h>
#include <tavrix/spatial/MeshCollider.h>

#include "Measure.h"
#include "SurfaceAreaTree.h"
#if defined(TAVRIX_WITH_EMBREE)
#include "EmbreePeer.h"
#endif

using namespace tavrix;
using namespace tavrix::benchmark;

namespace
{

using Node = GeometryNode<Box3F>;

Mesh makeBumpyTorus(uint32 n)
{
    Mesh mesh;
    const double step = 2 * std::acos(-1.0) / n;
    for (uint32 i = 0; i < n; ++i)
        for (uint32 k = 0; k < n; ++k)
        {
            const double u = i * step, v = k * step;
            const double r = 1 + 0.1 * std::sin(7 * u) * std::cos(9 * v);
            const double around = 3 + r * std::cos(v);
            mesh.refPos().push_back({around * std::cos(u), around * std::sin(u), r * std::sin(v)});
        }
    for (uint32 i = 0; i < n; ++i)
        for (uint32 k = 0; k < n; ++k)
        {
            const uint32 j = (i + 1) % n, l = (k + 1) % n;
            mesh.refTrindexPos().push_back({i * n + k, j * n + k, j * n + l});
            mesh.refTrindexPos().push_back({i * n + k, j * n + l, i * n + l});
        }
    return mesh;
}

/// Rays from a ball around the torus to points near it; most hit. The numbers are floats.
std::vector<Ray3D> makeRays(uint32 count)
{
    std::mt19937 random(1);
    const auto unit = [&] { return static_cast<float>(random() % 65536) / 32768 - 1; };
    std::vector<Ray3D> rays;
    while (rays.size() < count)
    {
        const float x = unit(), y = unit(), z = unit();
        const float square = x * x + y * y + z * z;
        if (square > 1 || square < 0.01f) continue;
        const float scale = 8 / std::sqrt(square);
        const Vector3F from{x * scale, y * scale, z * scale};
        const float a = unit(), b = unit();
        const Vector3F to{a * 4, b * 4, unit()};
        rays.push_back({convert<double>(from), convert<double>(to - from)});
    }
    return rays;
}

/// The boxes of nodes that rays have to be tested with, a ray: the same traversal for every tree.
double meanVisits(std::span<const Node> nodes, const MeshCollider& collider, const std::vector<Ray3D>& rays)
{
    uint64 visits = 0;
    std::vector<std::pair<double, uint32>> open;
    for (const Ray3D& ray : rays)
    {
        const RaySlabs slabs(ray, nodes[0].box);
        // with the hit known beforehand, the order of the visits does not matter
        const auto hit = collider.castRay(ray);
        const double limit = hit ? hit->distance : 1e300;
        open.assign(1, {slabs.entry(nodes[0].box), 0});
        while (!open.empty())
        {
            const auto [entry, n] = open.back();
            open.pop_back();
            ++visits;
            if (entry > limit || nodes[n].isLeaf()) continue;
            for (const uint32 child : {nodes[n].link, nodes[n].link + 1})
                open.push_back({slabs.entry(nodes[child].box), child});
        }
    }
    return static_cast<double>(visits) / static_cast<double>(rays.size());
}

double perSecond(std::size_t count, double milliseconds)
{
    return static_cast<double>(count) / milliseconds * 1e-3;
}

#if defined(TAVRIX_WITH_EMBREE)
void compareWithEmbree(const Mesh& mesh, const MeshCollider& collider, const std::vector<Ray3D>& rays,
                       double ownMilliseconds)
{
    std::vector<float> points, numbers, distances(rays.size());
    for (const Vector3D& p : mesh.pos())
        for (uint32 axis = 0; axis < 3; ++axis) points.push_back(static_cast<float>(p[axis]));
    for (const Ray3D& ray : rays)
        for (const Vector3D* v : {&ray.origin, &ray.direction})
            for (uint32 axis = 0; axis < 3; ++axis) numbers.push_back(static_cast<float>((*v)[axis]));
    const EmbreeRays embree =
        castWithEmbree(points.data(), mesh.getPosSize(), &mesh.trindexPos().data()->a, mesh.getFacesSize(),
                       numbers.data(), static_cast<unsigned>(rays.size()), distances.data());
    uint32 different = 0;
    for (std::size_t n = 0; n < rays.size(); ++n)
    {
        const auto hit = collider.castRay(rays[n]);
        different += hit.has_value() != (distances[n] >= 0) ||
                     (hit && std::fabs(hit->distance - double{distances[n]}) > 1e-4);
    }
    std::printf(
        "  Embree: built in %.0f ms, %.2f million rays/s, %.1f times ours; %u of %zu answers differ\n",
        embree.buildSeconds * 1e3, perSecond(rays.size(), embree.castSeconds * 1e3),
        ownMilliseconds / (embree.castSeconds * 1e3), different, rays.size());
}
#endif

void measure(uint32 n)
{
    const Mesh mesh = makeBumpyTorus(n);
    const auto build = [&](uint32 threads)
    {
        GeometryTree<Node> tree;
        tree.integrateMesh(mesh.trindexPos(), mesh.pos(), true, threads);
    };
    const uint32 threads = Hardware::getThreadCount();
    const double one = medianMilliseconds([&] { build(1); }, 3);
    const double all = medianMilliseconds([&] { build(threads); }, 3);
    std::printf("%u faces\n  tree: %.1f ms on one thread, %.1f ms on %u\n", mesh.getFacesSize(), one, all,
                threads);

    MeshCollider collider;
    collider.create(mesh, threads);
    const auto& nodes = collider.getTree().nodes();
    std::vector<Box3F> boxes(mesh.getFacesSize());
    for (const Node& node : nodes)
        if (node.isLeaf()) boxes[node.geometryIndex()] = node.box;
    std::vector<Node> fromAbove;
    const double other = medianMilliseconds([&] { fromAbove = SurfaceAreaTree(boxes).nodes(); }, 1);
    const std::vector<Ray3D> rays = makeRays(200000);
    const std::vector<Ray3D> some(rays.begin(), rays.begin() + 20000);
    std::printf("  boxes tested a ray: %.1f; by the surface-area heuristic (built in %.0f ms) %.1f\n",
                meanVisits({nodes.data(), nodes.size()}, collider, some), other,
                meanVisits(fromAbove, collider, some));

    uint32 hits = 0;
    const double casting = medianMilliseconds(
        [&]
        {
            hits = 0;
            for (const Ray3D& ray : rays) hits += collider.castRay(ray).has_value();
        },
        3);
    std::printf("  %.2f million rays/s, %.0f%% hit\n", perSecond(rays.size(), casting),
                100.0 * hits / static_cast<double>(rays.size()));
    double sum = 0;
    uint32 inside = 0;
    const double nearest = medianMilliseconds(
        [&]
        {
            for (const Ray3D& ray : some) sum += collider.nearestPoint(ray.at(0.9))->distance;
        },
        3);
    const double insides = medianMilliseconds(
        [&]
        {
            for (const Ray3D& ray : some) inside += collider.isInside(ray.at(0.9));
        },
        3);
    std::printf("  %.2f million nearest points/s (mean distance %.2f), %.2f million insides/s (%.0f%%)\n",
                perSecond(some.size(), nearest), sum / 3 / static_cast<double>(some.size()),
                perSecond(some.size(), insides), 100.0 / 3 * inside / static_cast<double>(some.size()));
#if defined(TAVRIX_WITH_EMBREE)
    compareWithEmbree(mesh, collider, rays, casting);
#endif
}

}  // namespace

int main()
{
    for (const uint32 n : {71u, 224u, 707u}) measure(n);
    return 0;
}
