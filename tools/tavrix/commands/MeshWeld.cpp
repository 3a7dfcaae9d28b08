#include "commands/MeshWeld.h"

#include <tavrix/meshproc/VertexWelding.h>

#include "commands/SmoothNormals.h"
#include "run/Failure.h"
#include "run/Interrupt.h"

namespace tavrix::tool
{

void weldMeshes(ArrayOfPtr<Mesh>& meshes, const WeldOptions& options, bool withNormals,
                const std::string& file)
{
    uint32 faces = 0;
    for (Mesh* mesh : meshes)
    {
        Mesh welded;
        welded.setName(mesh->getName());
        welded.refPos().swap(mesh->refPos());
        welded.refTrindexPos().swap(mesh->refTrindexPos());
        weldVertices(welded.refPos(), welded.refTrindexPos(), options.tolerances, options.dropThin);
        *mesh = std::move(welded);
        if (withNormals) confirmSmoothNormals(*mesh);
        faces += mesh->getFacesSize();
        stopIfInterrupted();
    }
    if (faces == 0) throw Failure(file + ": the tolerance leaves no faces; give a smaller one");
}

}  // namespace tavrix::tool
