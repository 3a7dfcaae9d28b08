#include <tavrix/meshproc/detail/NewMesh.h>

namespace tavrix::detail
{

void handOver(Mesh& mesh, NewMesh& made, VertexArrays& arrays)
{
    Array<Wector3F> faceNormals;
    if (!mesh.faceNor().empty()) Mesh::staticCalculateNormals(made.positions, made.faces, faceNormals);
    Array<Vector3F>* const smoothed =
        TX_ArrayServer::instance().get<Array<Vector3F>>(mesh.getArrNorSurface());
    Array<Vector3F> smooth(smoothed && !smoothed->empty() ? made.positions.size() : 0);
    if (!smooth.empty()) Mesh::staticCalculateNormals(made.positions, made.faces, smooth);
    arrays.handOver();
    if (smoothed) smoothed->swap(smooth);
    mesh.refFaceNor().swap(faceNormals);
    mesh.refPos().swap(made.positions);
    mesh.refTrindexPos().swap(made.faces);
    mesh.refNor().swap(made.normals);
    mesh.refTrindexNor().swap(made.normalTriples);
    mesh.invalidateBox();
    mesh.invalidateConnectivity();
}

}  // namespace tavrix::detail
