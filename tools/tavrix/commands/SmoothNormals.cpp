#include "commands/SmoothNormals.h"

#include <tavrix/foundation/ElementaryFunctions.h>
#include <tavrix/mesh/MeshRepair.h>

namespace tavrix::tool
{

namespace
{

constexpr double creaseAngle = 40 * piValue / 180;

}  // namespace

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

}  // namespace tavrix::tool
