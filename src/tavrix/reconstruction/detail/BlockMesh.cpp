#include <tavrix/reconstruction/detail/BlockMesh.h>

namespace tavrix::detail
{

BlockRoadEnd assembleByPlan(std::vector<BlockSurface>& surfaces, const BlockMeshPlan& plan, Polling& polling,
                            Mesh& mesh)
{
    const bool isDone =
        assembleMesh(surfaces, plan.threadCount, polling, mesh) &&
        (!plan.joinsAtNodes || joinAtNodes(listNodeVertices(surfaces), plan.threadCount, polling, mesh));
    if (!isDone)
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
