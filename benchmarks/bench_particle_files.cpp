// How fast particle files are read: bench_particle_files FILE... prints each one's name and the least seconds
// of five runs, all of it: from opening the file to arrays of floats. particle_file_peers.py makes such
// files, and has others read them.
#include <algorithm>
#include <cstdio>
#include <limits>

#include <tavrix/platform/Timer.h>

#include "formats/ParticleFile.h"

using namespace tavrix;

int main(int count, char** files)
{
    for (int n = 1; n < count; ++n)
    {
        double best = std::numeric_limits<double>::infinity();
        for (int run = 0; run < 5; ++run)
        {
            Timer timer;
            timer.start();
            formats::readParticleFile(files[n]);
            best = std::min(best, timer.stop());
        }
        std::printf("%s %.5f\n", files[n], best);
    }
}
