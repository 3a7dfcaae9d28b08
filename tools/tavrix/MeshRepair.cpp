#include "MeshRepair.h"

#include <algorithm>
#include <bit>
#include <numeric>
#include <tuple>
#include <vector>

#include <tavrix/foundation/ElementaryFunctions.h>

namespace tavrix::tool
{

namespace
{

constexpr double creaseAngle = 40 * piValue / 180;

bool isWithin(const Index3& triple, uint32 size) { return std::max({triple.a, triple.b, triple.c}) < size; }

/// Coordinates as a key that orders any values, NaN as well; -0 is 0.
std::tuple<uint64, uint64, uint64> keyOf(const Vector3D& p)
{
    return {std::bit_cast<uint64>(p.x + 0.0), std::bit_cast<uint64>(p.y + 0.0),
            std::bit_cast<uint64>(p.z + 0.0)};
}

}  // namespace

uint32 dropInvalidFaces(Mesh& mesh)
{
    const uint32 count = mesh.getFacesSize(), positions = mesh.getPosSize();
    Array<Index3>& faces = mesh.refTrindexPos();
    Array<Index3>& normalTriples = mesh.refTrindexNor();
    if (normalTriples.size() != count) normalTriples.clear();
    uint32 kept = 0;
    for (uint32 f = 0; f < count; ++f)
    {
        if (!isWithin(faces[f], positions)) continue;
        if (!normalTriples.empty()) normalTriples[kept] = normalTriples[f];
        faces[kept++] = faces[f];
    }
    faces.resize(kept);
    if (!normalTriples.empty()) normalTriples.resize(kept);
    if (kept != count)
    {
        mesh.refFaceNor().clear();
        mesh.invalidateConnectivity();
    }
    const uint32 normals = mesh.nor().size();
    if (!std::all_of(normalTriples.begin(), normalTriples.end(),
                     [normals](const Index3& triple) { return isWithin(triple, normals); }))
    {
        normalTriples.clear();
        mesh.refNor().clear();
    }
    return count - kept;
}

void joinEqualPositions(Mesh& mesh)
{
    const Array<Vector3D>& positions = mesh.pos();
    std::vector<uint32> order(positions.size());
    std::iota(order.begin(), order.end(), 0u);
    std::sort(order.begin(), order.end(),
              [&](uint32 a, uint32 b)
              { return std::tuple(keyOf(positions[a]), a) < std::tuple(keyOf(positions[b]), b); });
    std::vector<uint32> first(positions.size());
    for (std::size_t n = 0; n < order.size(); ++n)
    {
        const bool isNew = n == 0 || keyOf(positions[order[n]]) != keyOf(positions[order[n - 1]]);
        first[order[n]] = isNew ? order[n] : first[order[n - 1]];
    }
    for (Index3& face : mesh.refTrindexPos()) face = {first[face.a], first[face.b], first[face.c]};
    mesh.invalidateConnectivity();
}

void confirmSmoothNormals(Mesh& mesh)
{
    if (mesh.nor().empty() || mesh.trindexNor().size() != mesh.getFacesSize())
        mesh.createNormals(creaseAngle);
}

Mesh joined(const ArrayOfPtr<Mesh>& meshes)
{
    Mesh all;
    for (const Mesh* mesh : meshes) all.addMesh(*mesh);
    if (!meshes.empty()) all.setName(meshes[0]->getName());
    return all;
}

}  // namespace tavrix::tool
