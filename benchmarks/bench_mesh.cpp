// Times the mesh operations that touch every face, on a height field of 2.4 million faces (or n * n positions
// for the argument n). Best of five runs each, in milliseconds.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <functional>

#include <tavrix/mesh/Mesh.h>
#include <tavrix/platform/Hardware.h>
#include <tavrix/platform/Timer.h>

#include "Rows.h"

using namespace tavrix;

namespace
{

Mesh makeHeightField(uint32 n)
{
    Mesh mesh;
    mesh.refPos().reserve(n * n);
    mesh.refTrindexPos().reserve(2 * (n - 1) * (n - 1));
    for (uint32 i = 0; i < n; ++i)
        for (uint32 k = 0; k < n; ++k)
            mesh.refPos().push_back({i * 0.1, k * 0.1, std::sin(i * 0.01) * std::cos(k * 0.013)});
    for (uint32 i = 0; i + 1 < n; ++i)
        for (uint32 k = 0; k + 1 < n; ++k)
        {
            const uint32 a = i * n + k;
            mesh.refTrindexPos().push_back({a, a + n, a + 1});
            mesh.refTrindexPos().push_back({a + 1, a + n, a + n + 1});
        }
    return mesh;
}

void report(const char* what, const std::function<void()>& prepare, const std::function<void()>& run)
{
    double best = 1e300;
    for (int i = 0; i < 5; ++i)
    {
        prepare();
        Timer timer;
        timer.start();
        run();
        best = std::min(best, timer.stop());
    }
    std::printf("%-28s %9.1f ms\n", what, best * 1e3);
    benchmark::row(std::string("2.4 million faces, ") + what, best * 1e3);
}

}  // namespace

int main(int argc, char** argv)
{
    const long asked = argc > 1 ? std::atol(argv[1]) : 1100;
    Mesh mesh = makeHeightField(static_cast<uint32>(std::clamp(asked, 2L, 20000L)));
    std::printf("%u positions, %u faces\n", mesh.getPosSize(), mesh.getFacesSize());
    const auto nothing = [] {};
    const auto forget = [&] { mesh.invalidateConnectivity(); };
    const uint32 threads = Hardware::getThreadCount();
    report("normals, 1 thread", nothing, [&] { mesh.recalculateNormals(); });
    report("normals, all threads", nothing, [&] { mesh.recalculateNormalsParallelized(threads); });
    report("face normals", nothing, [&] { mesh.recalculateFaceNormals(); });
    report("normals with 30 degree crease", nothing, [&] { mesh.createNormals(0.5235987755982988); });
    report("face-edge neighbours", forget, [&] { mesh.createSafe_arrTrindexFacedge(); });
    report("positions around positions", forget, [&] { mesh.createSafe_PosConnectivityToPos(); });
    report("faces around positions", forget, [&] { mesh.createSafe_PosConnectivityToFaces(); });
    report("deep copy", nothing, [&] { const Mesh copy(mesh); });
    return 0;
}
