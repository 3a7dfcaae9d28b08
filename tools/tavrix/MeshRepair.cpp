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

/// Coordinates as a key that orders any values, NaN as well; -0 is 0.
std::tuple<uint64, uint64, uint64> keyOf(const Vector3D& p)
{
    return {std::bit_cast<uint64>(p.x + 0.0), std::bit_cast<uint64>(p.y + 0.0),
            std::bit_cast<uint64>(p.z + 0.0)};
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

void confirmSmoothNormals(Mesh& mesh)
{
    if (mesh.nor().empty() || mesh.trindexNor().size() != mesh.getFacesSize())
        mesh.createNormals(creaseAngle);
}

void smoothSeparateFaces(Mesh& mesh)
{
    joinEqualPositions(mesh);
    mesh.createNormals(creaseAngle);
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

Mesh joined(const ArrayOfPtr<Mesh>& meshes)
{
    Mesh all;
    for (const Mesh* mesh : meshes) all.addMesh(*mesh);
    if (!meshes.empty()) all.setName(meshes[0]->getName());
    return all;
}

}  // namespace tavrix::tool
