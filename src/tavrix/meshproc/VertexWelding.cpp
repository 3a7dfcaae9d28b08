#include <tavrix/meshproc/VertexWelding.h>

#include <algorithm>
#include <limits>

#include <tavrix/meshproc/Vector3Simplifier.h>

namespace tavrix
{

namespace
{

void dropUnusedPositions(Array<Vector3D>& positions, Array<Index3>& faces)
{
    Array<uint32> place(positions.size(), noIndex);
    for (const Index3& face : faces) place[face.a] = place[face.b] = place[face.c] = 0;
    uint32 used = 0;
    for (uint32 i = 0; i < place.size(); ++i)
    {
        if (place[i] == noIndex) continue;
        place[i] = used;
        positions[used++] = positions[i];
    }
    positions.resize(used);
    for (Index3& face : faces) face = {place[face.a], place[face.b], place[face.c]};
}

}  // namespace

bool weldVertices(Array<Vector3D>& positions, Array<Index3>& faces, std::span<const double> tolerances,
                  bool dropThinFaces, CancelCallback callback)
{
    using Simplifier = Vector3Simplifier<double>;
    constexpr double smallest = std::numeric_limits<float>::denorm_min();
    Simplifier::Params params;
    for (const double t : tolerances) params.push_back(static_cast<float>(std::max(t, smallest)));
    Simplifier simplifier;
    simplifier.setCallback(callback);
    if (dropThinFaces)
        simplifier.simplifyRemovingDegenerateFaces(positions, faces, params, V3S_SIMP_MODE::center);
    else
        simplifier.simplifyRemovingDegenerateTrindices(positions, faces, params, V3S_SIMP_MODE::center);
    if (simplifier.isStopped()) return false;
    dropUnusedPositions(positions, faces);
    return true;
}

}  // namespace tavrix
