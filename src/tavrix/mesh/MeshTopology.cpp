#include <tavrix/mesh/MeshTopology.h>

#include <algorithm>
#include <numeric>
#include <utility>
#include <vector>

#include <tavrix/mesh/detail/CornerFans.h>
#include <tavrix/mesh/detail/EdgeTable.h>
#include <tavrix/mesh/detail/EqualPoints.h>
#include <tavrix/mesh/detail/MeshFaces.h>

namespace tavrix
{

namespace
{

bool runsUpwards(const Array<Index3>& faces, uint32 halfEdge)
{
    const Index3& t = faces[halfEdge / 3];
    return t[halfEdge % 3] < t[(halfEdge + 1) % 3];
}

/// What computeTopology looks at, once for all counts. Counts mean nothing once the polling has stopped.
struct Examined
{
    Examined(const Mesh& mesh, detail::Polling& polling)
        : positions(mesh.pos()),
          faces(mesh.trindexPos()),
          polling(polling),
          edges(faces, positions.size(), polling),
          isUsed(positions.size(), uint8{0})
    {
        for (const uint32 h : halfEdges())
            if (edges.edgeOfHalfEdge[h] != noIndex) isUsed[faces[h / 3][h % 3]] = 1;
    }

    detail::PolledNumbers numbers(uint32 count) const { return {count, detail::scatteredItems, polling}; }
    detail::PolledNumbers halfEdges() const { return numbers(edges.edgeOfHalfEdge.size()); }

    const Array<Vector3D>& positions;
    const Array<Index3>& faces;
    detail::Polling& polling;
    const detail::EdgeTable edges;
    Array<uint8> isUsed;  ///< positions of counted faces
};

uint32 countUsed(const Array<uint8>& used)
{
    return static_cast<uint32>(std::count(used.begin(), used.end(), uint8{1}));
}

uint32 countNonManifoldVertices(const Examined& of)
{
    detail::CornerFans fans(of.faces, facedgeNeighbours(of.edges, of.faces.size(), of.polling), of.polling);
    Array<uint32> firstFan(of.positions.size(), noIndex);
    Array<uint8> hasSeveral(of.positions.size(), uint8{0});
    for (const uint32 corner : of.halfEdges())
    {
        if (of.edges.edgeOfHalfEdge[corner] == noIndex) continue;
        const uint32 position = detail::vertexAt(of.faces, corner), fan = fans.fanOf(corner);
        if (firstFan[position] == noIndex) firstFan[position] = fan;
        hasSeveral[position] |= firstFan[position] != fan;
    }
    return countUsed(hasSeveral);
}

/// The used positions that edges of length 0 do not join, less the different places of them.
uint32 countSelfContacts(const Examined& of)
{
    const Array<Vector3D>& positions = of.positions;
    detail::UnionFind joined(positions.size(), of.polling);
    for (const uint32 f : of.numbers(of.faces.size()))
        for (uint32 c = 0; c < 3; ++c)
        {
            const uint32 from = of.faces[f][c], to = of.faces[f][(c + 1) % 3];
            if (positions[from] == positions[to]) joined.unite(from, to);
        }
    const Array<uint32> firsts = detail::firstEqualPoints(positions, of.polling);
    Array<uint8> isTaken(positions.size(), uint8{0});
    uint32 contacts = 0;
    for (const uint32 n : of.numbers(positions.size()))
        if (of.isUsed[n] && isFinite(positions[n]) && joined.find(n) == n)
            contacts += std::exchange(isTaken[firsts[n]], uint8{1});
    return contacts;
}

bool hasArea(const Array<Vector3D>& positions, const Index3& face)
{
    const Vector3D& a = positions[face.a];
    const Vector3D normal = cross(positions[face.b] - a, positions[face.c] - a);
    return dot(normal, normal) > 0;
}

bool isBelow(const Array<Index3>& triples, uint32 size)
{
    return std::all_of(triples.begin(), triples.end(),
                       [size](const Index3& t) { return t.a < size && t.b < size && t.c < size; });
}

void countFaces(const Examined& of, MeshTopology& topology)
{
    for (const uint32 f : of.numbers(of.faces.size()))
    {
        const bool isCounted = of.edges.edgeOfHalfEdge[uint64{3} * f] != noIndex;
        ++(isCounted ? topology.faceCount : topology.collapsedFaceCount);
        topology.flatFaceCount += isCounted && !hasArea(of.positions, of.faces[f]);
    }
}

void countEdges(const Examined& of, MeshTopology& topology)
{
    Array<uint32> uses(of.edges.edgeCount, 0u);
    Array<int32> balances(of.edges.edgeCount, 0);  // the uses upwards minus those downwards
    for (const uint32 h : of.halfEdges())
    {
        const uint32 edge = of.edges.edgeOfHalfEdge[h];
        if (edge == noIndex) continue;
        ++uses[edge];
        balances[edge] += runsUpwards(of.faces, h) ? 1 : -1;
    }
    topology.edgeCount = of.edges.edgeCount;
    for (const uint32 e : of.numbers(of.edges.edgeCount))
    {
        topology.boundaryEdgeCount += uses[e] == 1;
        topology.nonManifoldEdgeCount += uses[e] > 2;
        topology.inconsistentEdgeCount += uses[e] > 1 && balances[e] != 0;
    }
}

MeshTopology edgeTopology(const Examined& of)
{
    MeshTopology topology{};
    countFaces(of, topology);
    countEdges(of, topology);
    topology.positionCount = countUsed(of.isUsed);
    topology.nonFiniteCount = static_cast<uint32>(std::count_if(
        of.positions.begin(), of.positions.end(), [](const Vector3D& p) { return !isFinite(p); }));
    return topology;
}

}  // namespace

MeshTopology computeTopology(const Mesh& mesh, CancelCallback callback)
{
    detail::Polling polling(callback);
    const Examined of(mesh, polling);
    MeshTopology topology = edgeTopology(of);
    topology.nonManifoldVertexCount = countNonManifoldVertices(of);
    topology.selfContactCount = countSelfContacts(of);
    return polling.isStopped() ? MeshTopology{} : topology;
}

MeshTopology computeEdgeTopology(const Mesh& mesh, CancelCallback callback)
{
    detail::Polling polling(callback);
    const MeshTopology topology = edgeTopology(Examined(mesh, polling));
    return polling.isStopped() ? MeshTopology{} : topology;
}

uint32 countParts(const Mesh& mesh)
{
    std::vector<uint32> parent(mesh.getPosSize());
    std::iota(parent.begin(), parent.end(), 0u);
    const auto root = [&parent](uint32 n)
    {
        while (parent[n] != n) n = parent[n] = parent[parent[n]];
        return n;
    };
    std::vector<bool> isUsed(mesh.getPosSize());
    for (const Index3& face : mesh.trindexPos())
    {
        isUsed[face.a] = isUsed[face.b] = isUsed[face.c] = true;
        parent[root(face.b)] = root(face.a);
        parent[root(face.c)] = root(face.a);
    }
    uint32 count = 0;
    for (uint32 n = 0; n < mesh.getPosSize(); ++n) count += isUsed[n] && root(n) == n ? 1 : 0;
    return count;
}

bool hasValidIndices(const Mesh& mesh)
{
    const bool fits = mesh.trindexNor().empty() || mesh.trindexNor().size() == mesh.getFacesSize();
    return fits && isBelow(mesh.trindexPos(), mesh.getPosSize()) &&
           (mesh.nor().empty() || isBelow(mesh.trindexNor(), mesh.nor().size()));
}

Box3D boxOfFaces(const Mesh& mesh)
{
    const detail::MeshFaces faces(mesh);
    Box3D box = Box3D::empty();
    for (uint32 f = 0; f < faces.faceCount; ++f) box.extend(faces.box(f));
    return box;
}

double surfaceArea(const Mesh& mesh)
{
    const Array<Vector3D>& pos = mesh.pos();
    double twice = 0;
    for (const Index3& t : mesh.trindexPos())
        twice += length(cross(pos[t.b] - pos[t.a], pos[t.c] - pos[t.a]));
    return twice / 2;
}

double signedVolume(const Mesh& mesh)
{
    const Array<Vector3D>& pos = mesh.pos();
    double sixfold = 0;
    for (const Index3& t : mesh.trindexPos())
        sixfold += dot(pos[t.a] - pos[0], cross(pos[t.b] - pos[0], pos[t.c] - pos[0]));
    return sixfold / 6;
}

}  // namespace tavrix
