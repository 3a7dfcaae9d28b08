// A loop over all processors, each worker writing only what is its own, and where a camera sees a point.
#include <tavrix/tavrix.h>

using namespace tavrix;

int main()
{
    Array<Vector3D> points(1000, Vector3D{1, 2, 2});
    Array<double> lengths(points.size());
    const auto measure = [&](uint32, uint64 begin, uint64 end)
    {
        for (uint64 n = begin; n < end; ++n) lengths[n] = length(points[n]);
    };
    parallelFor(points.size(), 4, measure);
    const Camera camera = Camera::lookingAt({0, 0, 9}, {0, 0, 0}, {0, 1, 0}, 0.5, 1.5);
    const Optional<Vector2D> place = camera.project({1, 2, 2});
    const bool isUpperRight = place && place->x > 0 && place->y > 0 && !camera.project({0, 0, 10});
    return lengths[999] == 3 && isUpperRight ? 0 : 1;
}
