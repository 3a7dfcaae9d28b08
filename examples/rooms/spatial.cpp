// Questions to a mesh: what a ray hits, what is nearest, what is inside.
#include <cstdio>

#include <tavrix/tavrix.h>

using namespace tavrix;

int main()
{
    Mesh cube;
    cube.createCubePrimitive({{-1, -1, -1}, {1, 1, 1}});
    MeshCollider collider;
    collider.create(cube);
    const auto hit = collider.castRay({{0, 0, 5}, {0, 0, -1}});
    const auto nearest = collider.nearestPoint({3, 0.5, 0});
    if (!hit || !nearest) return 1;
    std::printf("hit after %g, %g away from the nearest point\n", hit->distance, nearest->distance);
    return hit->distance == 4 && nearest->distance == 2 && collider.isInside({0.5, 0.5, 0.5}) ? 0 : 1;
}
