// A loop over all processors, each worker writing only what is its own.
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
    return lengths[999] == 3 ? 0 : 1;
}
