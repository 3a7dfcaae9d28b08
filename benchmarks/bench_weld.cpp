// Joining the corners of a triangle soup, as an STL file holds it: a gyroid of some 667,000 faces, in the
// order of its faces and shuffled. Points and triangles, single and double precision, equal points and a
// tolerance; beside vtkCleanPolyData (equal points), vtkStaticCleanPolyData and meshoptimizer's vertex remap
// (equal points), where they are installed. One thread each, best of five runs.

#include <algorithm>
#include <cstdio>
#include <functional>
#include <limits>
#include <random>
#include <vector>

#include <tavrix/isosurface/IsosurfaceExtractor3.h>
#include <tavrix/mesh/Mesh.h>
#include <tavrix/meshproc/Vector3Simplifier.h>

#include "Gyroid.h"
#include "Measure.h"
#include "Rows.h"
#include "WeldPeers.h"

using namespace tavrix;

namespace
{

constexpr float smallest = std::numeric_limits<float>::denorm_min();

using Soup = Array<Vector3F>;

Soup makeSoup(uint32 size, bool isShuffled)
{
    const auto field = benchmark::gyroid(size);
    Mesh mesh;
    IsosurfaceExtractor3::extractMesh(field, mesh, 0.0f, 0, 0, 0, 0, 0, 0, 2, nullptr, true);
    std::vector<Index3> faces(mesh.trindexPos().begin(), mesh.trindexPos().end());
    if (isShuffled) std::shuffle(faces.begin(), faces.end(), std::mt19937(1));
    Soup soup;
    soup.reserve(3 * mesh.getFacesSize());
    for (const Index3& face : faces)
        for (uint32 c = 0; c < 3; ++c) soup.push_back(convert<float>(mesh.pos()[face[c]]));
    return soup;
}

double report(const char* who, double unit, const std::function<long long()>& weld)
{
    long long left = 0;
    const double time = benchmark::leastMilliseconds([&] { left = weld(); }, 5);
    std::printf("  %-32s %8.1f ms  %8lld left", who, time, left);
    if (unit > 0) std::printf("  %6.2f times as long", time / unit);
    std::printf("\n");
    return time;
}

template <class T>
long long weld(const Array<Vector3<T>>& soup, float tolerance)
{
    Array<Vector3<T>> points;
    Array<Index3> soupFaces(soup.size() / 3), faces;
    for (uint32 f = 0; f < soupFaces.size(); ++f) soupFaces[f] = {3 * f, 3 * f + 1, 3 * f + 2};
    Vector3Simplifier<T>().simplify(soup, soupFaces, points, faces, {tolerance}, V3S_SIMP_MODE::center);
    return points.size();
}

void compare(const Soup& soup, [[maybe_unused]] const std::string& what)
{
    Array<Vector3D> doubles(soup.size());
    std::transform(soup.begin(), soup.end(), doubles.begin(), convert<double, float>);
    const double unit = report("tavrix, float, equal", 0, [&] { return weld(soup, smallest); });
    report("tavrix, double, equal", unit, [&] { return weld(doubles, smallest); });
    report("tavrix, float, within 0.001", unit, [&] { return weld(soup, 1e-3f); });
    report("tavrix, double, within 0.001", unit, [&] { return weld(doubles, 1e-3f); });
    [[maybe_unused]] const float* coordinates = &soup[0].x;
#if defined(TAVRIX_WITH_VTK)
    report("vtkCleanPolyData, equal", unit, [&] { return vtkWeld(coordinates, soup.size()); });
    const double vtk = report("vtkStaticCleanPolyData, equal", unit,
                              [&] { return vtkStaticWeld(coordinates, soup.size(), 0, 1); });
    benchmark::row("equal corners of " + what + " joined", unit, {"vtkStaticCleanPolyData", vtk, 1});
    report("vtkStaticCleanPolyData, 0.001", unit,
           [&] { return vtkStaticWeld(coordinates, soup.size(), 1e-3, 1); });
#else
    std::printf("  built without VTK\n");
#endif
#if defined(TAVRIX_WITH_MESHOPTIMIZER)
    const double remap =
        report("meshoptimizer, equal", unit, [&] { return meshoptimizerWeld(coordinates, soup.size()); });
    benchmark::row("equal corners of " + what + " joined", unit, {"meshoptimizer", remap, 1});
#else
    std::printf("  built without meshoptimizer\n");
#endif
}

}  // namespace

int main()
{
    for (const bool isShuffled : {false, true})
    {
        const Soup soup = makeSoup(135, isShuffled);
        std::printf("%u corners of %s\n", soup.size(), isShuffled ? "shuffled faces" : "faces in order");
        compare(soup, isShuffled ? "shuffled faces" : "faces");
    }
    return 0;
}
