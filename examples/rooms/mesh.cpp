// A cube with normals that keep its edges, and a quantity of one's own on its corners.
#include <cstdio>

#include <tavrix/tavrix.h>

using namespace tavrix;

int main()
{
    Mesh cube;
    cube.createCubePrimitive({{-1, -1, -1}, {1, 1, 1}});
    cube.createNormals(0.5);  // radians: edges sharper than that stay
    cube.addArray<float>("Temperature").assign(cube.getPosSize(), 20.0f);
    std::printf("%u faces, %u normals, volume %g\n", cube.getFacesSize(), cube.nor().size(),
                signedVolume(cube));
    return computeTopology(cube).isClosed() ? 0 : 1;
}
