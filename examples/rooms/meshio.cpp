// A mesh into a file and back, in the format that the name says.
#include <tavrix/tavrix.h>

using namespace tavrix;

int main()
{
    Mesh cube;
    cube.createCubePrimitive({{-1, -1, -1}, {1, 1, 1}});
    auto& stl = MeshFileParser<MeshSTLFileParser>::instance();
    ArrayOfPtr<Mesh> meshes;
    if (stl.write("cube.stl", cube) != 1 || stl.read("cube.stl", meshes) != 1) return 1;
    return meshes[0]->getFacesSize() == cube.getFacesSize() ? 0 : 1;
}
