// A ball of triangles, as an STL file has them, becomes a mesh whose faces share their corners, then one of
// fewer faces, a smoother one of many, and a disc where a plane cuts it.
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
    MeshTessellator().subdivide(mesh, {.levels = 2});
    const double heights[] = {0.25};
    const Polygons disc = sliceMesh(mesh, SliceFrame::alongAxis(2), heights).slices[0].polygons;
    const bool isDisc = disc.size() == 1 && disc.area() > 2.5 && disc.locate({0, 0}) == PointPlace::Inside;
    return corners.size() == 252 && mesh.getFacesSize() == 1600 && isDisc ? 0 : 1;
}
