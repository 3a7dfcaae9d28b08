// A wavy sheet of 131,072 particles in 512^3 nodes, into a tiled and into a dense field: seconds, memory, and
// whether the samples are the same: bench_tiles [threads]. The best of three runs.

#include <cmath>
#include <cstdio>
#include <cstdlib>

#include <tavrix/fields/ScalarField3.h>
#include <tavrix/fields/ScalarField3_SG.h>
#include <tavrix/platform/Hardware.h>

#include "Measure.h"
#include "Rows.h"

using namespace tavrix;
using tavrix::benchmark::leastMilliseconds;

namespace
{

constexpr uint32 size = 512;

/// Two layers of particles, two nodes apart, shaken by up to a node.
Array<Vector3F> makeSheet()
{
    uint32 state = 1;
    const auto shake = [&state]
    {
        state = state * 1664525u + 1013904223u;
        return static_cast<float>(state >> 8) / 16777216.0f;
    };
    Array<Vector3F> positions;
    for (uint32 n = 0; n < size * size / 2; ++n)
    {
        const auto x = static_cast<float>(n / size * 2), y = static_cast<float>(n / 2 % (size / 2) * 2);
        const float wave = 64 * std::sin(x * 12 / size) * std::cos(y * 12 / size);
        const float z = size / 2.0f + wave + static_cast<float>(n % 2 * 2);
        positions.push_back({x + shake(), y + shake(), z + shake()});
    }
    return positions;
}

template <class Field>
double fill(Field& field, const Array<Vector3F>& positions, uint32 threads)
{
    const Array<float> radii(positions.size(), 2.0f);
    return leastMilliseconds(
        [&]
        {
            field.reset(size, size, size, 1.0);
            field.moveTo({(size - 1) / 2.0, (size - 1) / 2.0, (size - 1) / 2.0});
            field.setMetaballField(positions, radii, 4.0f, 20.0f, threads, nullptr);
        },
        3);
}

}  // namespace

int main(int count, char** arguments)
{
    const uint32 threads =
        count > 1 ? static_cast<uint32>(std::atoi(arguments[1])) : Hardware::getThreadCount();
    const Array<Vector3F> positions = makeSheet();
    std::printf("%u particles, %u^3 nodes, %u thread%s\n", positions.size(), size, threads,
                threads == 1 ? "" : "s");
    ScalarField3_SG<float, double> tiled;
    const double tiledTime = fill(tiled, positions, threads);
    std::printf("  tiled %8.1f ms %8.1f MiB, %u of %u tiles\n", tiledTime,
                static_cast<double>(tiled.getMemoryUsage()) / 1048576, tiled.getStoredTileSize(),
                tiled.getTileSize());
    ScalarField3<float, double> dense;
    const double denseTime = fill(dense, positions, threads);
    std::printf("  dense %8.1f ms %8.1f MiB\n", denseTime,
                static_cast<double>(dense.getMemoryUsage()) / 1048576);
    ScalarField3<float, double> copy(dense);
    copy.copyScalars(tiled);
    benchmark::row("tiled field of a sheet filled, " + std::to_string(threads) + " threads", tiledTime,
                   {"a dense one", denseTime, 1});
    const bool isSame = copy.getArrScalars() == dense.getArrScalars();
    std::printf("  tiled / dense: time %.2f, memory %.3f, samples %s\n", tiledTime / denseTime,
                static_cast<double>(tiled.getMemoryUsage()) / static_cast<double>(dense.getMemoryUsage()),
                isSame ? "the same" : "NOT THE SAME");
    return isSame ? 0 : 1;
}
