// Even faces on a bumpy torus and on a block with sharp edges, of about as many faces as there were and of a
// quarter: the time, how even the faces are, and how far the new surface lies from the given one and the
// given one's vertices from it, in edge lengths. CGAL's isotropic_remeshing, when installed, goes over it as
// often.

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <string>

#include <tavrix/tavrix.h>

#include "Measure.h"
#include "RemeshingPeer.h"
#include "Rows.h"
#include "Torus.h"

using namespace tavrix;

namespace
{

constexpr uint32 rounds = 5;
constexpr double sharpDegrees = 40;

struct Quality
{
    double meanLeastAngle = 0, leastAngle = 180, below30 = 0, mean = 0, farthest = 0;
};

void addDistances(const Mesh& of, const Mesh& from, double edge, Quality& quality)
{
    MeshCollider collider;
    collider.create(from);
    Array<Vector3D> asked = of.pos();
    for (const Index3& t : of.trindexPos())
        asked.push_back((of.pos()[t.a] + of.pos()[t.b] + of.pos()[t.c]) / 3);
    Array<MeshPoint> nearest;
    collider.nearestPoints({asked.data(), asked.size()}, nearest);
    for (const MeshPoint& point : nearest)
    {
        quality.mean += point.distance / edge / nearest.size() / 2;
        quality.farthest = std::max(quality.farthest, point.distance / edge);
    }
}

Quality qualityOf(const Mesh& mesh, const Mesh& given, double edge)
{
    Quality quality;
    for (const Index3& t : mesh.trindexPos())
    {
        double least = 180;
        for (uint32 c = 0; c < 3; ++c)
        {
            const Vector3D a = mesh.pos()[t[(c + 1) % 3]] - mesh.pos()[t[c]];
            const Vector3D b = mesh.pos()[t[(c + 2) % 3]] - mesh.pos()[t[c]];
            least = std::min(least, arcCosine(dot(a, b) / (length(a) * length(b))) * 180 / piValue);
        }
        quality.leastAngle = std::min(quality.leastAngle, least);
        quality.meanLeastAngle += least / mesh.getFacesSize();
        quality.below30 += least < 30 ? 100.0 / mesh.getFacesSize() : 0;
    }
    addDistances(mesh, given, edge, quality);
    addDistances(given, mesh, edge, quality);
    return quality;
}

void tell(const char* who, double time, const Mesh& mesh, const Mesh& given, double edge)
{
    const Quality q = qualityOf(mesh, given, edge);
    std::printf(
        "  %-17s %9.1f ms  %8u faces  least angle %4.1f on average, %4.1f at least, %6.3f %% below 30;  "
        "distance %.5f on average, %.3f at most\n",
        who, time, mesh.getFacesSize(), q.meanLeastAngle, q.leastAngle, q.below30, q.mean, q.farthest);
}

/// The peer's edges come out shorter than asked for: it is asked for `peerEdge`, to end with about as many
/// faces.
void compare(const std::string& name, const Mesh& given, double edge, [[maybe_unused]] double peerEdge)
{
    std::printf("%s, %u faces, edges of %g\n", name.c_str(), given.getFacesSize(), edge);
    double unit = 0;
    for (const uint32 threads : {1u, 2u})
    {
        Mesh mesh;
        const auto remesh = [&]
        {
            mesh = given;
            remeshIsotropically(mesh, {edge, sharpDegrees * piValue / 180, rounds, threads});
        };
        const double time = benchmark::leastMilliseconds(remesh, 3);
        if (threads == 1) unit = time;
        tell(threads == 1 ? "tavrix, 1 thread" : "tavrix, 2 threads", time, mesh, given, edge);
    }
#if defined(TAVRIX_WITH_CGAL)
    RemeshingPeer peer;
    for (const Vector3D& p : given.pos()) peer.coordinates.insert(peer.coordinates.end(), {p.x, p.y, p.z});
    for (const Index3& t : given.trindexPos()) peer.corners.insert(peer.corners.end(), {t.a, t.b, t.c});
    const double time = peer.remesh(peerEdge, rounds, sharpDegrees);
    Mesh mesh;
    for (std::size_t v = 0; v < peer.coordinates.size(); v += 3)
        mesh.refPos().push_back({peer.coordinates[v], peer.coordinates[v + 1], peer.coordinates[v + 2]});
    for (std::size_t f = 0; f < peer.corners.size(); f += 3)
        mesh.refTrindexPos().push_back({peer.corners[f], peer.corners[f + 1], peer.corners[f + 2]});
    tell("CGAL, 1 thread", time, mesh, given, edge);
    benchmark::row("remeshing of a " + name, unit, {"CGAL", time, 1});
#else
    std::printf("  built without CGAL\n");
#endif
}

}  // namespace

int main()
{
    const Mesh torus = benchmark::bumpyTorus(300);
    compare("bumpy torus to as many faces", torus, 0.04, 0.0445);
    compare("bumpy torus to a quarter", torus, 0.08, 0.0925);
    Mesh block;
    block.createCubePrimitive({{0, 0, 0}, {3, 1, 2}});
    compare("block to many faces", block, 0.02, 0.0218);
    return 0;
}
