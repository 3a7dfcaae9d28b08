#include <tavrix/mesh/MeshTopology.h>

#include <algorithm>
#include <numeric>
#include <tuple>
#include <vector>

#include <tavrix/mesh/detail/CornerFans.h>
#include <tavrix/mesh/detail/EdgeTable.h>
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

/// For every edge, the uses upwards minus the uses downwards.
Array<int32> directionBalances(const detail::EdgeTable& edges, const Array<Index3>& faces)
{
    Array<int32> balances(edges.edgeCount, 0);
    for (uint32 h = 0; h < edges.edgeOfHalfEdge.size(); ++h)
        if (edges.edgeOfHalfEdge[h] != noIndex)
            balances[edges.edgeOfHalfEdge[h]] += runsUpwards(faces, h) ? 1 : -1;
    return balances;
}

/// Which positions the counted faces use.
Array<uint8> usedPositions(const detail::EdgeTable& edges, const Array<Index3>& faces, uint32 positionCount)
{
    Array<uint8> used(positionCount, uint8{0});
    for (uint32 h = 0; h < edges.edgeOfHalfEdge.size(); ++h)
        if (edges.edgeOfHalfEdge[h] != noIndex) used[faces[h / 3][h % 3]] = 1;
    return used;
}

uint32 countUsed(const Array<uint8>& used)
{
    return static_cast<uint32>(std::count(used.begin(), used.end(), uint8{1}));
}

uint32 countNonManifoldVertices(const detail::EdgeTable& edges, const Array<Index3>& faces,
                                uint32 positionCount)
{
    detail::CornerFans fans(faces, facedgeNeighbours(edges, faces.size()));
    Array<uint32> firstFan(positionCount, noIndex);
    Array<uint8> hasSeveral(positionCount, uint8{0});
    for (uint32 corner = 0; corner < edges.edgeOfHalfEdge.size(); ++corner)
    {
        if (edges.edgeOfHalfEdge[corner] == noIndex) continue;
        const uint32 position = detail::vertexAt(faces, corner), fan = fans.fanOf(corner);
        if (firstFan[position] == noIndex) firstFan[position] = fan;
        hasSeveral[position] |= firstFan[position] != fan;
    }
    return countUsed(hasSeveral);
}

/// The used positions that edges of length 0 do not join, less the different places of them.
uint32 countSelfContacts(const Array<Vector3D>& positions, const Array<Index3>& faces,
                         const Array<uint8>& used)
{
    detail::UnionFind joined(positions.size());
    for (const Index3& face : faces)
        for (uint32 c = 0; c < 3; ++c)
            if (positions[face[c]] == positions[face[(c + 1) % 3]]) joined.unite(face[c], face[(c + 1) % 3]);
    std::vector<Vector3D> places;
    for (uint32 n = 0; n < positions.size(); ++n)
        if (used[n] && isFinite(positions[n]) && joined.find(n) == n) places.push_back(positions[n]);
    std::sort(places.begin(), places.end(),
              [](const Vector3D& a, const Vector3D& b)
              { return std::tie(a.x, a.y, a.z) < std::tie(b.x, b.y, b.z); });
    const auto different = std::unique(places.begin(), places.end());
    return static_cast<uint32>(places.end() - different);
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

MeshTopology edgeTopology(const Mesh& mesh, const detail::EdgeTable& edges, const Array<uint8>& used)
{
    const Array<Index3>& faces = mesh.trindexPos();
    const Array<uint32> uses = edges.useCounts();
    const Array<int32> balances = directionBalances(edges, faces);
    MeshTopology topology{};
    topology.positionCount = countUsed(used);
    topology.edgeCount = edges.edgeCount;
    for (uint32 f = 0; f < faces.size(); ++f)
    {
        const bool isCounted = edges.edgeOfHalfEdge[uint64{3} * f] != noIndex;
        ++(isCounted ? topology.faceCount : topology.collapsedFaceCount);
        topology.flatFaceCount += isCounted && !hasArea(mesh.pos(), faces[f]);
    }
    for (uint32 e = 0; e < edges.edgeCount; ++e)
    {
        topology.boundaryEdgeCount += uses[e] == 1;
        topology.nonManifoldEdgeCount += uses[e] > 2;
        topology.inconsistentEdgeCount += uses[e] > 1 && balances[e] != 0;
    }
    topology.nonFiniteCount = static_cast<uint32>(
        std::count_if(mesh.pos().begin(), mesh.pos().end(), [](const Vector3D& p) { return !isFinite(p); }));
    return topology;
}

}  // namespace

MeshTopology computeTopology(const Mesh& mesh)
{
    const Array<Index3>& faces = mesh.trindexPos();
    const detail::EdgeTable edges(faces, mesh.getPosSize());
    const Array<uint8> used = usedPositions(edges, faces, mesh.getPosSize());
    MeshTopology topology = edgeTopology(mesh, edges, used);
    topology.nonManifoldVertexCount = countNonManifoldVertices(edges, faces, mesh.getPosSize());
    topology.selfContactCount = countSelfContacts(mesh.pos(), faces, used);
    return topology;
}

MeshTopology computeEdgeTopology(const Mesh& mesh)
{
    const detail::EdgeTable edges(mesh.trindexPos(), mesh.getPosSize());
    return edgeTopology(mesh, edges, usedPositions(edges, mesh.trindexPos(), mesh.getPosSize()));
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
