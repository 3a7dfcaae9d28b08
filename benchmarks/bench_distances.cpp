// Signed distances of a bumpy torus of a million faces, within a hundredth of its size: an octree sampled
// from it beside exact answers, for points all over its box and near the surface; the best of several runs
// on one thread, and one run of the sampling. Fails when an answer is wrong by more than the tolerance.

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <random>
#include <string>
#include <vector>

#include <tavrix/spatial/AdaptiveDistance.h>
#include <tavrix/spatial/MeshCollider.h>

#include "Measure.h"
#include "Rows.h"
#include "Torus.h"

using namespace tavrix;

namespace
{

using Octree = ScalarField3Octree<float>;

/// What an answer of the octree may take of the time of an exact one.
constexpr double goal = 0.1;

/// Vectors in a cube of two units around the origin.
class RandomVectors
{
public:
    Vector3D operator()()
    {
        Vector3D v;
        for (uint32 axis = 0; axis < 3; ++axis) v[axis] = static_cast<double>(_bits()) / 2147483648.0 - 1;
        return v;
    }

private:
    std::mt19937 _bits{3};
};

std::vector<Vector3D> pointsIn(const Box3D& box, uint32 count)
{
    RandomVectors random;
    const Vector3D half = (box.max - box.min) / 2;
    std::vector<Vector3D> points(count);
    for (Vector3D& p : points)
    {
        const Vector3D v = random();
        p = box.center() + Vector3D{v.x * half.x, v.y * half.y, v.z * half.z};
    }
    return points;
}

/// No further from a vertex than the distance along any axis; in random order.
std::vector<Vector3D> pointsNear(const Mesh& mesh, double distance, uint32 count)
{
    RandomVectors random;
    std::mt19937 choice(4);
    std::vector<Vector3D> points(count);
    for (Vector3D& p : points) p = mesh.pos()[choice() % mesh.getPosSize()] + random() * distance;
    return points;
}

/// The best time of an action that answers all points, in nanoseconds a point.
template <class Action>
double nanoseconds(const std::vector<Vector3D>& points, const Action& action)
{
    return benchmark::leastMilliseconds(action, 3) * 1e6 / static_cast<double>(points.size());
}

/// The largest difference; infinite where an answer is missing.
double largestError(const std::vector<double>& exact, const std::vector<double>& answers)
{
    double largest = 0;
    for (std::size_t n = 0; n < exact.size(); ++n)
    {
        const double error = std::fabs(answers[n] - exact[n]);
        largest = std::max(largest, error >= 0 ? error : INFINITY);
    }
    return largest;
}

/// The octree beside the mesh that it was sampled from.
struct Pair
{
    const MeshCollider& mesh;
    const Octree& octree;
    double tolerance, samplingMilliseconds;
};

/// Prints the times of both and the error of the octree, and after how many points its sampling has paid.
/// Whether all are within the tolerance.
bool compare(const std::string& what, const std::vector<Vector3D>& points, const Pair& pair)
{
    std::vector<double> exact(points.size()), answers(points.size());
    const auto answerAll = [&](std::vector<double>& to, const auto& answer) {
        return nanoseconds(points, [&] { std::transform(points.begin(), points.end(), to.begin(), answer); });
    };
    const double slow = answerAll(exact, [&](const Vector3D& p) { return pair.mesh.signedDistance(p); });
    const double fast =
        answerAll(answers, [&](const Vector3D& p) { return double{pair.octree.evaluate(p).value_or(NAN)}; });
    Array<double> together;
    const double batch = nanoseconds(points, [&] { pair.mesh.signedDistances(points, together); });
    const double used = largestError(exact, answers) / pair.tolerance;
    std::printf("  %-8s %6.1f ns a point; exact %7.1f, in a batch %7.1f; ratio %.4f, goal %.2g\n",
                what.c_str(), fast, slow, batch, fast / slow, goal);
    std::printf("           sampling pays from %.0f points on; the largest error of %zu is %.3f tolerances\n",
                pair.samplingMilliseconds * 1e6 / (batch - fast), points.size(), used);
    // a million points take as many milliseconds as one takes nanoseconds
    benchmark::row("distances within 1 %, " + what + ", a million", fast, {"exact", slow, goal});
    return used <= 1;
}

/// Milliseconds of one run, negative when it failed.
double sample(const MeshCollider& mesh, const Box3D& box, double tolerance, uint32 threads, Octree& octree)
{
    auto status = OctreeStatus::Done;
    const AdaptiveDistanceSettings settings{.tolerance = tolerance, .threadCount = threads};
    const double time =
        benchmark::leastMilliseconds([&] { status = sampleDistance(mesh, box, settings, octree); }, 1);
    return status == OctreeStatus::Done ? time : -1;
}

}  // namespace

int main()
{
    const Mesh torus = benchmark::bumpyTorus(707);
    MeshCollider collider;
    collider.create(torus);
    const Box3D tight = boxAround(torus.pos());
    const Vector3D sides = tight.max - tight.min;
    const double tolerance = 0.01 * std::max({sides.x, sides.y, sides.z});
    const Box3D box = tight.widened(10 * tolerance);

    Octree octree;
    const double two = sample(collider, box, tolerance, 2, octree);
    const double one = sample(collider, box, tolerance, 1, octree);
    if (one < 0 || two < 0)
    {
        std::printf("sampling failed\n");
        return 1;
    }
    std::printf("%u cells, %.1f MiB, sampled in %.1f ms; on two threads in %.1f ms, %.2f\n",
                octree.cells().size(), static_cast<double>(octree.getMemoryUsage()) / 1048576, one, two,
                two / one);
    benchmark::row("sampling distances within 1 %, a million faces", one);
    benchmark::row("sampling distances on two threads", two, {"on one", one, 0});
    const Pair pair{collider, octree, tolerance, one};
    const bool areTrueAnywhere = compare("anywhere", pointsIn(box, 60'000), pair);
    const bool areTrueNear = compare("near", pointsNear(torus, tolerance, 60'000), pair);
    if (!areTrueAnywhere || !areTrueNear) std::printf("wrong by more than the tolerance\n");
    return areTrueAnywhere && areTrueNear ? 0 : 1;
}
