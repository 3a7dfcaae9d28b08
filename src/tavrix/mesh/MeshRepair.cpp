#include <tavrix/mesh/MeshRepair.h>

#include <utility>
#include <vector>

#include <tavrix/mesh/detail/CarriedArrays.h>
#include <tavrix/mesh/detail/EdgeTable.h>
#include <tavrix/mesh/detail/EqualPoints.h>

namespace tavrix
{

namespace
{

/// The faces' neighbours across edges of exactly two faces.
class FaceNeighbours
{
public:
    FaceNeighbours(const Array<Index3>& faces, uint32 positionCount, detail::Polling& polling)
        : _faces(faces),
          _facedges(
              facedgeNeighbours(detail::EdgeTable(faces, positionCount, polling), faces.size(), polling))
    {
    }

    /// Calls visit(neighbour, windsAlike) for each neighbour of a face.
    template <class Visit>
    void forEach(uint32 face, Visit visit) const
    {
        for (uint32 c = 0; c < 3; ++c)
        {
            const IndexFacedge other = _facedges[face][c];
            if (other.isNone()) continue;
            const uint32 ownStart = _faces[face][c], otherStart = _faces[other.face()][other.edge()];
            visit(other.face(), ownStart != otherStart);
        }
    }

private:
    const Array<Index3>& _faces;
    Array<FacedgeTriple> _facedges;
};

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
MeshPart partAround(uint32 start, const FaceNeighbours& neighbours, FaceMarks& marks,
                    detail::PollCounter& polls)
{
    MeshPart part{{start}, false};
    marks.isReached[start] = true;
    for (std::size_t n = 0; n < part.faces.size() && polls.add(1); ++n)
        neighbours.forEach(part.faces[n],
                           [&, face = part.faces[n]](uint32 next, bool windsAlike)
                           {
                               part.isMixed = part.isMixed || !windsAlike;
                               if (marks.isReached[next]) return;
                               marks.isReached[next] = true;
                               marks.isTurned[next] = marks.isTurned[face] == windsAlike;
                               part.faces.push_back(next);
                           });
    return part;
}

/// Six times the volume that a face spans with the origin.
double spannedVolume(const Mesh& mesh, const Index3& face, const Vector3D& origin)
{
    const Array<Vector3D>& pos = mesh.pos();
    return dot(pos[face.a] - origin, cross(pos[face.b] - origin, pos[face.c] - origin));
}

/// Those that orientMixedParts reverses; some of them when stopped.
std::vector<uint32> facesToTurn(const Mesh& mesh, detail::Polling& polling)
{
    const Array<Index3>& faces = mesh.trindexPos();
    const FaceNeighbours neighbours(faces, mesh.getPosSize(), polling);
    FaceMarks marks{std::vector<bool>(faces.size(), false), std::vector<bool>(faces.size(), false)};
    std::vector<uint32> turned;
    detail::PollCounter polls(polling, detail::scatteredItems);
    for (uint32 start = 0; start < faces.size() && !polling.isStopped(); ++start)
    {
        if (marks.isReached[start]) continue;
        const MeshPart part = partAround(start, neighbours, marks, polls);
        if (!part.isMixed) continue;
        double volume = 0;
        for (const uint32 f : part.faces)
            volume +=
                spannedVolume(mesh, faces[f], mesh.pos()[faces[start].a]) * (marks.isTurned[f] ? -1 : 1);
        for (const uint32 f : part.faces)
            if (marks.isTurned[f] != (volume < 0)) turned.push_back(f);
    }
    return turned;
}

/// Leaves the elements of these ascending numbers.
template <class T>
void gather(Array<T>& elements, const Array<uint32>& numbers)
{
    for (uint32 n = 0; n < numbers.size(); ++n) elements[n] = elements[numbers[n]];
    elements.resize(numbers.size());
}

}  // namespace

uint32 joinEqualPositions(Mesh& mesh, CancelCallback callback)
{
    detail::Polling polling(callback);
    const Array<uint32> first = detail::firstEqualPoints(mesh.pos(), polling);
    if (polling.isStopped()) return 0;
    uint32 repeated = 0;
    for (uint32 n = 0; n < first.size(); ++n) repeated += first[n] != n;
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

uint32 orientMixedParts(Mesh& mesh, CancelCallback callback)
{
    detail::Polling polling(callback);
    const std::vector<uint32> turned = facesToTurn(mesh, polling);
    if (polling.isStopped() || turned.empty()) return 0;
    for (const uint32 f : turned) std::swap(mesh.refTrindexPos()[f].b, mesh.refTrindexPos()[f].c);
    dropNormals(mesh);
    mesh.invalidateConnectivity();
    return static_cast<uint32>(turned.size());
}

Mesh joinMeshes(const ArrayOfPtr<Mesh>& meshes)
{
    Mesh all;
    for (const Mesh* mesh : meshes) all.addMesh(*mesh);
    if (!meshes.empty()) all.setName(meshes[0]->getName());
    return all;
}

}  // namespace tavrix
