// Decimation to a half, a tenth and a fiftieth of the faces: bench_decimation [FILE]..., mesh files (.obj or
// .stl, whose equal corners are joined) beside a bumpy torus of a million faces. The processor's time on one
// thread (of five runs the median), the root mean square and the largest distance to the given mesh, both
// ways, at vertices and at 100,000 points spread over the faces, in parts of the box's diagonal; and
// meshoptimizer's simplifier, where it is installed, first: then ours is asked for as many faces as that
// left. It does not keep the surface a manifold; edges of three and more faces are counted.

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <functional>
#include <string>
#include <vector>

#include <tavrix/tavrix.h>

#include "Rows.h"
#include "Torus.h"
#if defined(TAVRIX_WITH_MESHOPTIMIZER)
#include "DecimationPeer.h"
#endif

using namespace tavrix;

namespace
{

/// A file's meshes as one, with its vertices joined where they are equal and rounded to single precision,
/// which is the peer's.
Mesh readMesh(const std::string& file)
{
    ArrayOfPtr<Mesh> meshes;
    if (file.ends_with(".obj"))
        MeshFileParser<Mesh_OBJ_FileParser>::instance().read(file.c_str(), {}, meshes);
    else
        MeshFileParser<MeshSTLFileParser>::instance().read(file.c_str(), meshes);
    Mesh mesh = joinMeshes(meshes);
    for (Vector3D& p : mesh.refPos()) p = convert<double>(convert<float>(p));
    const double equal = 0;
    weldVertices(mesh.refPos(), mesh.refTrindexPos(), {&equal, 1});
    mesh.invalidateBox();
    mesh.invalidateConnectivity();
    dropNormals(mesh);
    return mesh;
}

/// The median of the processor's time over five runs of an action on one thread, in milliseconds: that of the
/// clock would tell how busy the machine is, too.
template <class Action>
double medianMilliseconds(Action action)
{
    std::vector<double> times;
    for (int run = 0; run < 5; ++run)
    {
        const std::clock_t start = std::clock();
        action();
        times.push_back(1e3 * static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC);
    }
    std::sort(times.begin(), times.end());
    return times[times.size() / 2];
}

struct Distances
{
    double squares = 0, area = 0, largest = 0;

    double mean() const { return std::sqrt(squares / area); }
};

void measure(const Mesh& from, const MeshCollider& to, Distances& distances)
{
    constexpr double points = 100000;
    const double all = surfaceArea(from);
    double u = 0.5, v = 0.5;  // a sequence that fills the square evenly (Roberts, 2018)
    for (const Index3& t : from.trindexPos())
    {
        const Array<Vector3D>& p = from.pos();
        const double area = length(cross(p[t.b] - p[t.a], p[t.c] - p[t.a])) / 2;
        for (const uint32 corner : {t.a, t.b, t.c})
            distances.largest = std::max(distances.largest, to.nearestPoint(p[corner])->distance);
        const auto count = static_cast<int>(std::ceil(area / all * points));
        for (int n = 0; n < count; ++n)
        {
            u = std::fmod(u + 0.7548776662466927, 1);
            v = std::fmod(v + 0.5698402909980532, 1);
            const bool isIn = u + v <= 1;
            const double a = isIn ? u : 1 - u, b = isIn ? v : 1 - v;
            const double distance =
                to.nearestPoint(p[t.a] + (p[t.b] - p[t.a]) * a + (p[t.c] - p[t.a]) * b)->distance;
            distances.squares += distance * distance * area / count;
            distances.area += area / count;
            distances.largest = std::max(distances.largest, distance);
        }
    }
}

struct Result
{
    double milliseconds;
    Distances distances;
};

Result report(const char* who, const Mesh& given, const MeshCollider& collider, Mesh& made,
              double milliseconds)
{
    Distances distances;
    MeshCollider ofMade;
    ofMade.create(made, 2);
    measure(made, collider, distances);
    measure(given, ofMade, distances);
    const double diagonal = length(given.getBox().max - given.getBox().min);
    distances.largest /= diagonal;
    distances.squares /= diagonal * diagonal;
    std::printf("    %-14s %7u faces  %8.1f ms  mean %.3e  largest %.3e  %u edges of three faces\n", who,
                made.getFacesSize(), milliseconds, distances.mean(), distances.largest,
                computeTopology(made).nonManifoldEdgeCount);
    return {milliseconds, distances};
}

void compare(const Mesh& given, double ratio)
{
    MeshCollider collider;
    collider.create(given, 2);
    auto target = static_cast<uint32>(given.getFacesSize() * ratio);
    std::printf("  %.0f %%\n", 100 * ratio);
#if defined(TAVRIX_WITH_MESHOPTIMIZER)
    std::vector<float> coordinates;
    for (const Vector3D& p : given.pos())
        for (uint32 axis = 0; axis < 3; ++axis) coordinates.push_back(static_cast<float>(p[axis]));
    std::vector<unsigned> corners;
    const double peerTime = medianMilliseconds(
        [&]
        {
            corners = meshoptimizerSimplify(coordinates.data(), given.getPosSize(), &given.trindexPos()[0].a,
                                            given.getFacesSize(), target);
        });
    Mesh peer;
    peer.refPos() = given.pos();
    for (std::size_t n = 0; n < corners.size(); n += 3)
        peer.refTrindexPos().push_back({corners[n], corners[n + 1], corners[n + 2]});
    const Result other = report("meshoptimizer", given, collider, peer, peerTime);
    target = peer.getFacesSize();
#endif
    Mesh made;
    const double time = medianMilliseconds(
        [&]
        {
            made = given;
            decimateMesh(made, {.faces = target, .threadCount = 1});
        });
    [[maybe_unused]] const Result own = report("tavrix", given, collider, made, time);
#if defined(TAVRIX_WITH_MESHOPTIMIZER)
    const std::string part = std::to_string(static_cast<int>(100 * ratio)) + " % of the faces";
    benchmark::row("decimation to " + part, own.milliseconds, {"meshoptimizer", other.milliseconds, 0});
    benchmark::row("its mean distance, nanodiagonals, " + part, own.distances.mean() * 1e9,
                   {"meshoptimizer", other.distances.mean() * 1e9, 0});
    std::printf(
        "    ours over its: time %.2f, mean %.2f, largest %.2f%s\n", own.milliseconds / other.milliseconds,
        own.distances.mean() / other.distances.mean(), own.distances.largest / other.distances.largest,
        made.getFacesSize() > target + 1 ? " (more faces: the surface's holes and handles need them)" : "");
#endif
}

void compare(const char* name, const Mesh& mesh)
{
    const MeshTopology topology = computeTopology(mesh);
    std::printf("%s: %u faces, %u edges on borders, Euler characteristic %lld\n", name, mesh.getFacesSize(),
                topology.boundaryEdgeCount, static_cast<long long>(topology.eulerCharacteristic()));
    for (const double ratio : {0.5, 0.1, 0.02}) compare(mesh, ratio);
}

}  // namespace

int main(int count, char** arguments)
{
#if !defined(TAVRIX_WITH_MESHOPTIMIZER)
    std::printf("built without meshoptimizer\n");
#endif
    for (int n = 1; n < count; ++n)
    {
        const Mesh mesh = readMesh(arguments[n]);
        if (!mesh.isEmpty()) compare(arguments[n], mesh);
    }
    compare("bumpy torus", benchmark::bumpyTorus(707));
    return 0;
}
