#include "Fuzz.h"

using namespace tavrix;

int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size)
{
    const fuzz::MemoryFile file(data, size);
    ParticleSystem_v3 particles;
    const int result = particles.load_BIN(file.path());
    const uint32 count = particles.getArrPosition().size();
    fuzz::require(result == -2 ? count == 0 : result == static_cast<int>(count), "the number of particles");
    fuzz::require(particles.getArrVelocity().size() == count && particles.getArrId().size() == count,
                  "arrays of the same length");
    fuzz::require(particles.getArrPosition().capacity() <= size, "arrays in proportion to the input");
    return 0;
}
