// Particles to mesh in one call.
#include <cstdio>

#include <tavrix/tavrix.h>

using namespace tavrix;

int main()
{
    Array<Vector3F> positions;
    for (uint32 n = 0; n < 8000; ++n)
        positions.push_back(Vector3F{float(n % 20), float(n / 20 % 20), float(n / 400)} * 0.1f);
    Mesh mesh;
    const ReconstructionReport report = reconstructSurface(positions, mesh);
    std::printf("%u particles, %u faces\n", report.particles, mesh.getFacesSize());
    return report.status == ReconstructionStatus::Done && signedVolume(mesh) > 0 ? 0 : 1;
}
