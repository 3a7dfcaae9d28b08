// How evenly ranks share the work of a surface: bench_ranks FILE.bin [RADIUS]. The ranks are threads of one
// process that work one stage after the other on their own shares; what counts is the processor time of each,
// without what it waits for others, so that it does not matter how many processors there are. For each number
// of ranks and each stage, the largest time of a rank over the mean; and the copies that ranks have of
// others' vertices, for each of their own.

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <map>
#include <numeric>
#include <string>
#include <vector>

#include <tavrix/particles/ParticleSystem_v3.h>
#include <tavrix/reconstruction/SurfaceReconstruction.h>

#include "ThreadRanks.h"

using namespace tavrix;

namespace
{

/// Seconds that the calling thread has worked.
double threadSeconds()
{
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
}

/// The seconds of each stage, on one rank.
class StageTimes
{
public:
    bool enter(const std::string& stage)
    {
        if (stage == _stage) return true;
        close();
        _stage = stage;
        return true;
    }
    void close()
    {
        const double now = threadSeconds();
        if (!_stage.empty()) seconds[_stage] += now - _begin;
        _begin = now;
    }

    std::map<std::string, double> seconds;

private:
    std::string _stage;
    double _begin = 0;
};

double imbalanceOf(const std::vector<double>& loads)
{
    const double sum = std::accumulate(loads.begin(), loads.end(), 0.0);
    return *std::max_element(loads.begin(), loads.end()) * static_cast<double>(loads.size()) / sum;
}

void measure(const Array<Vector3F>& positions, uint32 rankCount, const Optional<double>& radius)
{
    std::vector<StageTimes> times(rankCount);
    std::vector<double> own(rankCount, 0.0), copies(rankCount, 0.0);
    test::ThreadRanks::run(rankCount,
                           [&](RankGroup& ranks)
                           {
                               const uint64 r = ranks.rank(), count = positions.size();
                               const auto begin = static_cast<uint32>(count * r / rankCount),
                                          end = static_cast<uint32>(count * (r + 1) / rankCount);
                               const Array<Vector3F> share(std::span<const Vector3F>(
                                   positions.begin() + begin, positions.begin() + end));
                               RankMesh part;
                               const ReconstructionSettings settings{.radius = radius, .threadCount = 1};
                               reconstructSurface(share, ranks, part, settings, {},
                                                  [&](const char* stage, double)
                                                  { return times[r].enter(stage); });
                               times[r].close();
                               for (const MeshRun& run : part.vertexRuns) own[r] += run.count;
                               copies[r] = part.mesh.getPosSize() - own[r];
                           });
    std::printf("%5u ranks:", rankCount);
    std::vector<double> all(rankCount, 0.0);
    for (const char* stage : {"field", "surface", "smooth", "normals"})
    {
        std::vector<double> loads;
        for (uint32 r = 0; r < rankCount; ++r) loads.push_back(times[r].seconds[stage]);
        for (uint32 r = 0; r < rankCount; ++r) all[r] += loads[r];
        std::printf("  %s %.2f", stage, imbalanceOf(loads));
    }
    const double copyShare =
        std::accumulate(copies.begin(), copies.end(), 0.0) / std::accumulate(own.begin(), own.end(), 0.0);
    std::printf("  all %.2f;  vertices %.2f, copies %.2f %%\n", imbalanceOf(all), imbalanceOf(own),
                100 * copyShare);
}

}  // namespace

int main(int argc, char** argv)
{
    ParticleSystem_v3 particles;
    if (argc < 2 || particles.load_BIN(argv[1]) <= 0)
    {
        std::fprintf(stderr, "bench_ranks FILE.bin [RADIUS]\n");
        return 1;
    }
    Optional<double> radius;
    if (argc > 2) radius = std::atof(argv[2]);
    for (const uint32 ranks : {2u, 4u, 8u, 16u, 64u}) measure(particles.getArrPosition(), ranks, radius);
}
