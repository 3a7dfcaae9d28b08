// Trees over a bumpy torus of 10^4, 10^5 and 10^6 faces: the time of building the public tree, and the boxes
// that a ray is tested with in it, beside one built by the surface-area heuristic. Then colliders of these
// meshes: the time of creating one, queries a second, one by one and in batches, and Embree with the same
// rays and points on one thread.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <random>
#include <span>

#include <tavrix/platform/Hardware.h>
#include <tavrix/spatial/MeshCollider.h>

#include "Measure.h"
#include "Rows.h"
#include "SurfaceAreaTree.h"
#include "Torus.h"
#if defined(TAVRIX_WITH_EMBREE)
#include "EmbreePeer.h"
#endif

using namespace tavrix;
using namespace tavrix::benchmark;

namespace
{

using Node = GeometryNode<Box3F>;

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

/// Rays of a camera, pixel after pixel. The numbers are floats.
std::vector<Ray3D> makeView(uint32 size)
{
    std::vector<Ray3D> rays;
    const Vector3D eye{0, -7, 5};
    for (uint32 y = 0; y < size; ++y)
        for (uint32 x = 0; x < size; ++x)
        {
            const Vector3F to{8 * static_cast<float>(x) / static_cast<float>(size) - 4,
                              8 * static_cast<float>(y) / static_cast<float>(size) - 4, 0};
            rays.push_back({eye, convert<double>(to) - eye});
        }
    return rays;
}

/// Points all over the box around the torus, or within a hundredth of its surface. The numbers are floats.
std::vector<Vector3D> makePoints(const Mesh& mesh, uint32 count, bool isNear)
{
    std::mt19937 random(2);
    const auto unit = [&] { return static_cast<double>(random() % 65536) / 32768 - 1; };
    std::vector<Vector3D> points;
    for (uint32 n = 0; n < count; ++n)
    {
        const Vector3D jitter{unit(), unit(), unit()};
        const Vector3D point = isNear ? mesh.pos()[random() % mesh.getPosSize()] + jitter * 0.01
                                      : Vector3D{jitter.x * 4, jitter.y * 4, jitter.z};
        points.push_back(convert<double>(convert<float>(point)));
    }
    return points;
}

/// Of every query, in millions a second: one by one, in a batch on one thread, and on two.
struct Rates
{
    double single, batch, onTwo;
};

template <class Question, class Single, class Batch>
Rates measureRates(const std::vector<Question>& questions, const Single& single, const Batch& batch)
{
    const auto rateOf = [&](const auto& action)
    { return static_cast<double>(questions.size()) / leastMilliseconds(action, 3) * 1e-3; };
    return {rateOf(
                [&]
                {
                    for (const Question& question : questions) single(question);
                }),
            rateOf([&] { batch(1); }), rateOf([&] { batch(2); })};
}

/// The table has rows of the largest mesh alone, in milliseconds for a million queries.
bool isInTable(const Mesh& mesh) { return mesh.getFacesSize() > 900'000; }

void print(const char* what, const Rates& rates, const MeshCollider& collider)
{
    if (isInTable(collider.getMesh()))
        benchmark::row(std::string("batches on two threads, ") + what, 1e3 / rates.onTwo,
                       {"on one", 1e3 / rates.batch, benchmark::onTwoThreads});
    std::printf("  %-22s %6.2f million/s, in a batch %6.2f, on two threads %6.2f (%.2f times)", what,
                rates.single, rates.batch, rates.onTwo, rates.onTwo / rates.batch);
}

#if defined(TAVRIX_WITH_EMBREE)
template <class... Vectors>
std::vector<float> floatsOf(const Vectors&... vectors)
{
    std::vector<float> numbers;
    for (const Vector3D* v : {&vectors...})
        for (uint32 axis = 0; axis < 3; ++axis) numbers.push_back(static_cast<float>((*v)[axis]));
    return numbers;
}

EmbreePeer makePeer(const Mesh& mesh)
{
    std::vector<float> points;
    for (const Vector3D& p : mesh.pos())
        for (const float number : floatsOf(p)) points.push_back(number);
    return {points.data(), mesh.getPosSize(), &mesh.trindexPos().data()->a, mesh.getFacesSize()};
}

/// Prints and returns Embree's rate, the best of three runs; prints how many answers are others than ours,
/// -1 for none.
double compare(double ownRate, const std::vector<float>& own, const std::vector<float>& numbers, bool isRays,
               const EmbreePeer& peer)
{
    std::vector<float> distances(own.size());
    std::vector<double> seconds;
    for (uint32 run = 0; run < 3; ++run)
        seconds.push_back(isRays ? peer.castRays(numbers.data(), own.size(), distances.data())
                                 : peer.findNearest(numbers.data(), own.size(), distances.data()));
    uint32 different = 0;
    for (std::size_t n = 0; n < own.size(); ++n) different += !(std::fabs(own[n] - distances[n]) <= 1e-4f);
    const double rate =
        static_cast<double>(own.size()) / *std::min_element(seconds.begin(), seconds.end()) * 1e-6;
    std::printf("; Embree %.2f, of which one by one is %.2f; %u of %zu differ", rate, ownRate / rate,
                different, own.size());
    return rate;
}
#endif

void measureRays(const char* what, const MeshCollider& collider, const std::vector<Ray3D>& rays,
                 [[maybe_unused]] const auto* peer)
{
    Array<MeshPoint> hits;
    uint32 hitCount = 0;
    const Rates rates = measureRates(
        rays, [&](const Ray3D& ray) { hitCount += collider.castRay(ray).has_value(); },
        [&](uint32 threads) { collider.castRays(rays, hits, 1e300, threads); });
    print(what, rates, collider);
#if defined(TAVRIX_WITH_EMBREE)
    std::vector<float> own, numbers;
    for (const MeshPoint& hit : hits)
        own.push_back(hit.face == noIndex ? -1 : static_cast<float>(hit.distance));
    for (const Ray3D& ray : rays)
        for (const float number : floatsOf(ray.origin, ray.direction)) numbers.push_back(number);
    const double embree = compare(rates.single, own, numbers, true, *peer);
    if (isInTable(collider.getMesh()))
        benchmark::row(std::string(what) + ", a million", 1e3 / rates.single,
                       {"Embree", 1e3 / embree, 1 / 0.8});
#endif
    std::printf("\n");
}

void measurePoints(const char* what, const MeshCollider& collider, const std::vector<Vector3D>& points,
                   [[maybe_unused]] const auto* peer)
{
    Array<MeshPoint> nearest;
    double sum = 0;
    const Rates rates = measureRates(
        points, [&](const Vector3D& point) { sum += collider.nearestPoint(point)->distance; },
        [&](uint32 threads) { collider.nearestPoints(points, nearest, 1e300, threads); });
    print(what, rates, collider);
#if defined(TAVRIX_WITH_EMBREE)
    std::vector<float> own, numbers;
    for (const MeshPoint& point : nearest) own.push_back(static_cast<float>(point.distance));
    for (const Vector3D& point : points)
        for (const float number : floatsOf(point)) numbers.push_back(number);
    const double embree = compare(rates.single, own, numbers, false, *peer);
    if (isInTable(collider.getMesh()))
        benchmark::row(std::string(what) + ", a million", 1e3 / rates.single,
                       {"Embree", 1e3 / embree, 1 / 1.2});
#endif
    std::printf("\n");
}

void measureInside(const MeshCollider& collider, const std::vector<Vector3D>& points)
{
    Array<uint8> inside;
    uint32 insideCount = 0;
    const Rates rates = measureRates(
        points, [&](const Vector3D& point) { insideCount += collider.isInside(point); },
        [&](uint32 threads) { collider.areInside(points, inside, threads); });
    print("inside", rates, collider);
    if (isInTable(collider.getMesh())) benchmark::row("inside, a million", 1e3 / rates.single);
    std::printf("; %.0f%% are\n", 100.0 / 3 * insideCount / static_cast<double>(points.size()));
}

void measurePublicTree(const Mesh& mesh)
{
    const auto build = [&](uint32 threads)
    {
        GeometryTree<Node> tree;
        tree.integrateMesh(mesh.trindexPos(), mesh.pos(), true, threads);
    };
    const uint32 threads = Hardware::getThreadCount();
    const double one = leastMilliseconds([&] { build(1); }, 3);
    const double all = leastMilliseconds([&] { build(threads); }, 3);
    std::printf("  public tree: %.1f ms on one thread, %.1f ms on %u\n", one, all, threads);
    MeshCollider collider;
    collider.create(mesh, threads);
    const auto& nodes = collider.getTree().nodes();
    std::vector<Box3F> boxes(mesh.getFacesSize());
    for (const Node& node : nodes)
        if (node.isLeaf()) boxes[node.geometryIndex()] = node.box;
    std::vector<Node> fromAbove;
    const double other = leastMilliseconds([&] { fromAbove = SurfaceAreaTree(boxes).nodes(); }, 1);
    const std::vector<Ray3D> rays = makeRays(20000);
    std::printf("  boxes tested a ray: %.1f; by the surface-area heuristic (built in %.0f ms) %.1f\n",
                meanVisits({nodes.data(), nodes.size()}, collider, rays), other,
                meanVisits(fromAbove, collider, rays));
}

void measureCollider(const Mesh& mesh)
{
    const auto create = [&](uint32 threads)
    {
        return leastMilliseconds(
            [&]
            {
                MeshCollider collider;
                collider.create(mesh, threads);
            },
            3);
    };
    const double one = create(1), two = create(2);
    if (isInTable(mesh))
        benchmark::row("MeshCollider::create on two threads", two, {"on one", one, benchmark::onTwoThreads});
    std::printf("  collider: %.1f ms on one thread, %.1f ms on two (%.2f times)", one, two, one / two);
#if defined(TAVRIX_WITH_EMBREE)
    std::vector<double> builds;
    for (uint32 run = 0; run < 3; ++run) builds.push_back(makePeer(mesh).buildSeconds() * 1e3);
    std::sort(builds.begin(), builds.end());
    const EmbreePeer embree = makePeer(mesh);
    const EmbreePeer* const peer = &embree;
    std::printf("; Embree %.1f ms, of which one thread takes %.2f", builds[1], one / builds[1]);
    if (isInTable(mesh))
        benchmark::row("MeshCollider::create, a million faces", one, {"Embree", builds[1], 1.2});
#else
    const int* const peer = nullptr;
#endif
    std::printf("\n");
    MeshCollider collider;
    collider.create(mesh);
    measureRays("rays from all sides", collider, makeRays(200000), peer);
    measureRays("rays of a camera", collider, makeView(450), peer);
    measurePoints("nearest, anywhere", collider, makePoints(mesh, 50000, false), peer);
    measurePoints("nearest, near", collider, makePoints(mesh, 200000, true), peer);
    measureInside(collider, makePoints(mesh, 100000, false));
}

}  // namespace

int main()
{
    for (const uint32 n : {71u, 224u, 707u})
    {
        const Mesh mesh = benchmark::bumpyTorus(n);
        std::printf("%u faces\n", mesh.getFacesSize());
        measureCollider(mesh);
        measurePublicTree(mesh);
    }
    return 0;
}
