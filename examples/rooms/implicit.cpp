// A solid, hollowed out to a wall of a tenth.
#include <tavrix/tavrix.h>

using namespace tavrix;

int main()
{
    Mesh cube;
    cube.createCubePrimitive({{-1, -1, -1}, {1, 1, 1}});
    LevelSet surface;
    sampleMesh(surface, cube, planLevelSet(cube.getBox(), LevelSetExtent::forOffset(0.05, 0, 0.1)),
               TX_IMPLICIT_SURFACE_SIGNED, 2);
    hollowOut(surface, 0.1);
    Mesh wall;
    surface.extractExplicitSurface(wall, 2);
    return countParts(wall) == 2 && wall.getFacesSize() > cube.getFacesSize() ? 0 : 1;
}
