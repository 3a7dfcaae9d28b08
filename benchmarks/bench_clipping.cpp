// Clipping of a torus of a million faces: cut in half by one plane, to a box that all sides of cut, and
// within the box. The processor's time on one thread, of five runs the median; that of copying the mesh is
// not in it. The last one is a slab of many small balls, whose caps have ten thousand loops.

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <vector>

#include <tavrix/tavrix.h>

#include "Rows.h"
#include "Torus.h"

using namespace tavrix;

namespace
{

/// Of tube radius 1, whose middle lies 2 away.
Mesh makeTorus(uint32 n)
{
    return benchmark::wrappedGrid(n,
                                  [](double u, double v)
                                  {
                                      const double r = 2 + std::cos(v);
                                      return Vector3D{r * std::cos(u), r * std::sin(u), std::sin(v)};
                                  });
}

Mesh makeBalls(uint32 n)
{
    const SphereTriangulated<double> ball(500, 1.0);
    Mesh one, row, sheet;
    one.refPos() = ball.getArrPos();
    one.refTrindexPos() = ball.getArrTrindexPos();
    const auto repeat = [n](const Mesh& mesh, const Vector3D& step)
    {
        Mesh all;
        for (uint32 i = 0; i < n; ++i)
        {
            const uint32 first = all.getPosSize();
            all.addMesh(mesh);
            for (uint32 p = first; p < all.getPosSize(); ++p) all.refPos()[p] += step * i;
        }
        return all;
    };
    return repeat(repeat(one, {2.5, 0.01, 0}), {0.01, 2.5, 0});
}

void measure(const char* what, const Mesh& mesh, const Box3D& box, ClipCut cut)
{
    std::vector<double> times;
    ClipReport report;
    uint32 faces = 0;
    for (int run = 0; run < 5; ++run)
    {
        Mesh copy = mesh;
        const std::clock_t start = std::clock();
        report = clipMesh(copy, box, cut);
        times.push_back(1e3 * static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC);
        faces = copy.getFacesSize();
    }
    std::sort(times.begin(), times.end());
    benchmark::row(std::string("clipping of a million faces, ") + what, times[2]);
    std::printf("%-28s %7.1f ms  %7u of %7u faces, %u cut, %u in caps of %u loops\n", what, times[2], faces,
                mesh.getFacesSize(), report.facesCut, report.facesOfCaps, report.loops);
}

}  // namespace

int main()
{
    const Box3D half{{0.1, -9, -9}, {9, 9, 9}}, box{{-1.5, -2, -0.5}, {2.5, 1.1, 0.7}};
    Mesh torus = makeTorus(708);
    measure("half, open", torus, half, ClipCut::Open);
    measure("half, closed", torus, half, ClipCut::Closed);
    measure("box, closed", torus, box, ClipCut::Closed);
    measure("within", torus, {{-9, -9, -9}, {9, 9, 9}}, ClipCut::Closed);
    torus.createNormals(0.5);
    measure("half, closed, with normals", torus, half, ClipCut::Closed);
    measure("balls, closed", makeBalls(100), {{-9, -9, 0.1}, {999, 999, 9}}, ClipCut::Closed);
    return 0;
}
