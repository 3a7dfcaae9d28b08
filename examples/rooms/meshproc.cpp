// A ball of triangles, as an STL file has them, becomes a mesh whose faces share their corners, and then one
// of fewer faces.
#include <tavrix/tavrix.h>

using namespace tavrix;

int main()
{
    const SphereTriangulated<double> ball(500, 1.0);
    Array<Vector3D> corners;
    Array<Index3> faces;
    for (const Index3& face : ball.getArrTrindexPos())
    {
        faces.push_back({corners.size(), corners.size() + 1, corners.size() + 2});
        for (const uint32 corner : {face.a, face.b, face.c}) corners.push_back(ball.getArrPos()[corner]);
    }
    const double tolerance[] = {1e-6};
    weldVertices(corners, faces, tolerance);
    Mesh mesh;
    mesh.assign("ball", corners, faces, 0);
    decimateMesh(mesh, {.faces = 100});
    return corners.size() == 252 && mesh.getFacesSize() == 100 ? 0 : 1;
}
