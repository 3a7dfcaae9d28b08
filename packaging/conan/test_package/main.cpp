#include <cstdio>
#include <tavrix/tavrix.h>

using namespace tavrix;

// Surfaces a row of particles, and fails unless the mesh has faces.
int main()
{
    Array<Vector3F> positions;
    for (int i = 0; i < 10; ++i) positions.push_back({0.1f * static_cast<float>(i), 0, 0});
    Mesh mesh;
    const ReconstructionReport report = reconstructSurface(positions, mesh);
    std::printf("%u faces\n", mesh.getFacesSize());
    return report.status == ReconstructionStatus::Done && mesh.getFacesSize() > 100 ? 0 : 1;
}
