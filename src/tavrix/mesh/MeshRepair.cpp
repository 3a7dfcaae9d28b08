#include <tavrix/mesh/MeshRepair.h>

#include <algorithm>
#include <bit>
#include <numeric>
#include <tuple>
#include <utility>
#include <vector>

#include <tavrix/mesh/detail/CarriedArrays.h>

namespace tavrix
{

namespace
{

/// Coordinates as a key that orders any values, NaN as well; -0 is 0.
std::tuple<uint64, uint64, uint64> keyOf(const Vector3D& p)
{
    return {std::bit_cast<uint64>(p.x + 0.0), std::bit_cast<uint64>(p.y + 0.0),
            std::bit_cast<uint64>(p.z + 0.0)};
}

/// A face's edge from one position to another, as others run along it too.
struct FaceEdge
{
    uint32 low, high, face;
    bool isUpwards;  ///< from low to high

    auto ends() const { return std::pair(low, high); }
};

std::vector<FaceEdge> sortedEdges(const Array<Index3>& faces)
{
    std::vector<FaceEdge> edges;
    for (uint32 f = 0; f < faces.size(); ++f)
        for (uint32 c = 0; c < 3; ++c)
        {
            const uint32 from = faces[f][c], to = faces[f][(c + 1) % 3];
            edges.push_back({std::min(from, to), std::max(from, to), f, from < to});
        }
    std::stable_sort(edges.begin(), edges.end(),
                     [](const FaceEdge& a, const FaceEdge& b) { return a.ends() < b.ends(); });
    return edges;
}

/// A face that shares an edge with another one.
struct Neighbour
{
    uint32 face;
    bool windsAlike;
};

/// The neighbours of every face across edges of exactly two faces.
std::vector<std::vector<Neighbour>> neighboursOf(const Array<Index3>& faces)
{
    const std::vector<FaceEdge> edges = sortedEdges(faces);
    std::vector<std::vector<Neighbour>> neighbours(faces.size());
    for (std::size_t n = 0, end; n < edges.size(); n = end)
    {
        end = n + 1;
        while (end < edges.size() && edges[end].ends() == edges[n].ends()) ++end;
        if (end - n != 2 || edges[n].face == edges[n + 1].face) continue;
        const bool windsAlike = edges[n].isUpwards != edges[n + 1].isUpwards;
        neighbours[edges[n].face].push_back({edges[n + 1].face, windsAlike});
        neighbours[edges[n + 1].face].push_back({edges[n].face, windsAlike});
    }
    return neighbours;
}

struct FaceMarks
{
    std::vector<bool> isReached;
    std::vector<bool> isTurned;  ///< to wind as the first face of its part
};

struct MeshPart
{
    std::vector<uint32> faces;
    bool isMixed;  ///< whether some neighbours do not wind alike
};

/// The faces that hang together with the start, breadth first.
MeshPart partAround(uint32 start, const std::vector<std::vector<Neighbour>>& neighbours, FaceMarks& marks)
{
    MeshPart part{{start}, false};
    marks.isReached[start] = true;
    for (std::size_t n = 0; n < part.faces.size(); ++n)
        for (const Neighbour& next : neighbours[part.faces[n]])
        {
            part.isMixed = part.isMixed || !next.windsAlike;
            if (marks.isReached[next.face]) continue;
            marks.isReached[next.face] = true;
            marks.isTurned[next.face] = marks.isTurned[part.faces[n]] == next.windsAlike;
            part.faces.push_back(next.face);
        }
    return part;
}

/// Six times the volume that a face spans with the origin.
double spannedVolume(const Mesh& mesh, const Index3& face, const Vector3D& origin)
{
    const Array<Vector3D>& pos = mesh.pos();
    return dot(pos[face.a] - origin, cross(pos[face.b] - origin, pos[face.c] - origin));
}

/// Leaves the elements of these ascending numbers.
template <class T>
void gather(Array<T>& elements, const Array<uint32>& numbers)
{
    for (uint32 n = 0; n < numbers.size(); ++n) elements[n] = elements[numbers[n]];
    elements.resize(numbers.size());
}

}  // namespace

uint32 joinEqualPositions(Mesh& mesh)
{
    const Array<Vector3D>& positions = mesh.pos();
    std::vector<uint32> order(positions.size());
    std::iota(order.begin(), order.end(), 0u);
    std::sort(order.begin(), order.end(),
              [&](uint32 a, uint32 b)
              { return std::tuple(keyOf(positions[a]), a) < std::tuple(keyOf(positions[b]), b); });
    std::vector<uint32> first(positions.size());
    uint32 repeated = 0;
    for (std::size_t n = 0; n < order.size(); ++n)
    {
        const bool isNew = n == 0 || keyOf(positions[order[n]]) != keyOf(positions[order[n - 1]]);
        first[order[n]] = isNew ? order[n] : first[order[n - 1]];
        repeated += isNew ? 0 : 1;
    }
    for (Index3& face : mesh.refTrindexPos()) face = {first[face.a], first[face.b], first[face.c]};
    mesh.invalidateConnectivity();
    return repeated;
}

void turnFaces(Mesh& mesh)
{
    for (Array<Index3>* faces : {&mesh.refTrindexPos(), &mesh.refTrindexNor()})
        for (Index3& face : *faces) std::swap(face.b, face.c);
    mesh.invalidateConnectivity();
}

void dropNormals(Mesh& mesh)
{
    mesh.refNor().clear();
    mesh.refTrindexNor().clear();
}

uint32 dropInfiniteFaces(Mesh& mesh)
{
    dropNormals(mesh);
    Array<Vector3D>& positions = mesh.refPos();
    Array<Index3>& faces = mesh.refTrindexPos();
    uint32 kept = 0;
    for (const Index3& face : faces)
        if (isFinite(positions[face.a]) && isFinite(positions[face.b]) && isFinite(positions[face.c]))
            faces[kept++] = face;
    const uint32 dropped = faces.size() - kept;
    faces.resize(kept);
    const Vector3D first = kept > 0 ? positions[faces[0].a] : Vector3D{0, 0, 0};
    for (Vector3D& p : positions)
        if (!isFinite(p)) p = first;
    mesh.invalidateBox();
    mesh.invalidateConnectivity();
    return dropped;
}

uint32 dropUnusedPositions(Mesh& mesh)
{
    const uint32 before = mesh.getPosSize();
    Array<uint32> number(before, noIndex), kept;
    for (const Index3& face : mesh.trindexPos()) number[face.a] = number[face.b] = number[face.c] = 0;
    for (uint32 n = 0; n < before; ++n)
        if (number[n] != noIndex)
        {
            number[n] = kept.size();
            kept.push_back(n);
        }
    if (kept.size() == before) return 0;
    detail::CarriedArrays carried(mesh);
    carried.gather(MeshArrayInf::PER_POSITION, before, {kept.data(), kept.size()}, [] { return true; });
    const bool normalsFollow = mesh.trindexNor() == mesh.trindexPos();
    if (normalsFollow && mesh.nor().size() == before) gather(mesh.refNor(), kept);
    gather(mesh.refPos(), kept);
    for (Index3& face : mesh.refTrindexPos()) face = {number[face.a], number[face.b], number[face.c]};
    if (normalsFollow) mesh.refTrindexNor() = mesh.trindexPos();
    carried.finish();
    mesh.invalidateBox();
    mesh.invalidateConnectivity();
    return before - kept.size();
}

uint32 orientMixedParts(Mesh& mesh)
{
    Array<Index3>& faces = mesh.refTrindexPos();
    const auto neighbours = neighboursOf(faces);
    FaceMarks marks{std::vector<bool>(faces.size(), false), std::vector<bool>(faces.size(), false)};
    uint32 turned = 0;
    for (uint32 start = 0; start < faces.size(); ++start)
    {
        if (marks.isReached[start]) continue;
        const MeshPart part = partAround(start, neighbours, marks);
        if (!part.isMixed) continue;
        double volume = 0;
        for (const uint32 f : part.faces)
            volume +=
                spannedVolume(mesh, faces[f], mesh.pos()[faces[start].a]) * (marks.isTurned[f] ? -1 : 1);
        for (const uint32 f : part.faces)
        {
            if (marks.isTurned[f] == (volume < 0)) continue;
            std::swap(faces[f].b, faces[f].c);
            ++turned;
        }
    }
    if (turned > 0)
    {
        dropNormals(mesh);
        mesh.invalidateConnectivity();
    }
    return turned;
}

Mesh joinMeshes(const ArrayOfPtr<Mesh>& meshes)
{
    Mesh all;
    for (const Mesh* mesh : meshes) all.addMesh(*mesh);
    if (!meshes.empty()) all.setName(meshes[0]->getName());
    return all;
}

}  // namespace tavrix
