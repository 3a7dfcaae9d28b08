#include "commands/MeshWeld.h"

#include <algorithm>
#include <cstdio>

#include <tavrix/mesh/MeshRepair.h>
#include <tavrix/meshproc/VertexWelding.h>

#include "commands/SmoothNormals.h"
#include "run/Failure.h"
#include "run/Interrupt.h"

namespace tavrix::tool
{

SheetSeparation weldMeshes(ArrayOfPtr<Mesh>& meshes, const WeldOptions& options, bool withNormals,
                           const std::string& file)
{
    const bool joinsEqualOnly = std::all_of(options.tolerances.begin(), options.tolerances.end(),
                                            [](double tolerance) { return tolerance == 0; });
    SheetSeparation separated;
    uint32 faces = 0;
    for (Mesh* mesh : meshes)
    {
        Mesh welded;
        welded.setName(mesh->getName());
        welded.refPos().swap(mesh->refPos());
        welded.refTrindexPos().swap(mesh->refTrindexPos());
        weldVertices(welded.refPos(), welded.refTrindexPos(), options.tolerances, options.dropThin);
        const SheetSeparation here =
            separateSheets(welded, joinsEqualOnly ? BackToBack::Keep : BackToBack::Drop);
        if (here.faces > 0) dropUnusedPositions(welded);
        separated.edges += here.edges;
        separated.vertices += here.vertices;
        separated.faces += here.faces;
        *mesh = std::move(welded);
        if (withNormals) confirmSmoothNormals(*mesh);
        faces += mesh->getFacesSize();
        stopIfInterrupted();
    }
    if (faces == 0) throw Failure(file + ": the tolerance leaves no faces; give a smaller one");
    return separated;
}

void tellSeparated(const SheetSeparation& separated)
{
    if (separated.edges + separated.vertices > 0)
        std::printf("sheets     cut apart at %u edges, by %u more vertices\n", separated.edges,
                    separated.vertices);
    if (separated.faces > 0) std::printf("           %u faces back to back dropped\n", separated.faces);
}

}  // namespace tavrix::tool
