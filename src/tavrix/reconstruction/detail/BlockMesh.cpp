#include <tavrix/reconstruction/detail/BlockMesh.h>

#include <tavrix/mesh/MeshRepair.h>
#include <tavrix/mesh/SheetSeparation.h>

namespace tavrix::detail
{

namespace
{

bool joinAndSeparate(const std::vector<BlockSurface>& surfaces, const BlockMeshPlan& plan, Polling& polling,
                     Mesh& mesh)
{
    if (plan.turnsFaces) turnFaces(mesh);
    if (!plan.joinsAtNodes) return true;
    const auto joined = joinAtNodes(listNodeVertices(surfaces), plan.threadCount, polling, mesh);
    if (joined && separateSheets(mesh, *joined, plan.threadCount).faces > 0) dropUnusedPositions(mesh);
    return joined.has_value();
}

}  // namespace

BlockRoadEnd assembleByPlan(std::vector<BlockSurface>& surfaces, const BlockMeshPlan& plan, Polling& polling,
                            Mesh& mesh)
{
    if (!assembleMesh(surfaces, plan.threadCount, polling, mesh) ||
        !joinAndSeparate(surfaces, plan, polling, mesh))
    {
        mesh.refPos().reserve(0);
        mesh.refTrindexPos().reserve(0);
        return BlockRoadEnd::Stopped;
    }
    mesh.invalidateBox();
    mesh.invalidateConnectivity();
    return mesh.getFacesSize() == 0 ? BlockRoadEnd::NoSurface : BlockRoadEnd::Done;
}

}  // namespace tavrix::detail
