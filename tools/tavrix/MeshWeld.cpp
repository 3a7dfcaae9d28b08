#include "MeshWeld.h"

#include <algorithm>
#include <limits>

#include <tavrix/meshproc/Vector3Simplifier.h>

#include "Failure.h"
#include "Interrupt.h"
#include "MeshRepair.h"

namespace tavrix::tool
{

namespace
{

/// Leaves out the positions that no face has for a corner; the others keep their order.
void dropUnusedPositions(Mesh& mesh)
{
    Array<Vector3D>& positions = mesh.refPos();
    Array<uint32> place(positions.size(), noIndex);
    for (const Index3& face : mesh.trindexPos()) place[face.a] = place[face.b] = place[face.c] = 0;
    uint32 used = 0;
    for (uint32 i = 0; i < place.size(); ++i)
    {
        if (place[i] == noIndex) continue;
        place[i] = used;
        positions[used++] = positions[i];
    }
    positions.resize(used);
    for (Index3& face : mesh.refTrindexPos()) face = {place[face.a], place[face.b], place[face.c]};
}

void weldMesh(Mesh& mesh, const WeldOptions& options)
{
    using Simplifier = Vector3Simplifier<double>;
    constexpr double smallest = std::numeric_limits<float>::denorm_min();
    Simplifier::Params tolerances;
    for (const double t : options.tolerances) tolerances.push_back(static_cast<float>(std::max(t, smallest)));

    Mesh welded;
    welded.setName(mesh.getName());
    welded.refPos().swap(mesh.refPos());
    welded.refTrindexPos().swap(mesh.refTrindexPos());
    const Simplifier simplifier;
    if (options.dropThin)
        simplifier.simplifyRemovingDegenerateFaces(welded.refPos(), welded.refTrindexPos(), tolerances,
                                                   V3S_SIMP_MODE::center);
    else
        simplifier.simplifyRemovingDegenerateTrindices(welded.refPos(), welded.refTrindexPos(), tolerances,
                                                       V3S_SIMP_MODE::center);
    dropUnusedPositions(welded);
    mesh = std::move(welded);
}

}  // namespace

void weldMeshes(ArrayOfPtr<Mesh>& meshes, const WeldOptions& options, bool withNormals,
                const std::string& file)
{
    uint32 faces = 0;
    for (Mesh* mesh : meshes)
    {
        weldMesh(*mesh, options);
        if (withNormals) confirmSmoothNormals(*mesh);
        faces += mesh->getFacesSize();
        stopIfInterrupted();
    }
    if (faces == 0) throw Failure(file + ": the tolerance leaves no faces; give a smaller one");
}

}  // namespace tavrix::tool
