#include <tavrix/spatial/MeshThickness.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>
#include <vector>

#include <tavrix/mesh/MeshTopology.h>
#include <tavrix/spatial/MeshCollider.h>

namespace tavrix
{

namespace
{

struct Triangle
{
    Vector3D a, b, c;

    Vector3D middle() const { return (a + b + c) * (1.0 / 3); }
    /// Twice the area long.
    Vector3D normal() const { return cross(b - a, c - a); }
    double longest() const
    {
        return std::sqrt(std::max({dot(b - a, b - a), dot(c - b, c - b), dot(a - c, a - c)}));
    }
};

Triangle faceOf(const Mesh& mesh, uint32 number)
{
    const Index3& t = mesh.trindexPos()[number];
    const uint32 count = mesh.getPosSize();
    if (t.a >= count || t.b >= count || t.c >= count) return {};
    return {mesh.pos()[t.a], mesh.pos()[t.b], mesh.pos()[t.c]};
}

/// Faces no higher than this part of their length have no normal but rounding.
constexpr double needle = 1e-9;

/// So far below its face a ray begins that rounding cannot let it meet the face.
double startOf(const Triangle& face)
{
    constexpr double ofFace = 1e-7, ofPlace = 1e-13;
    const Vector3D p = face.middle();
    return ofFace * face.longest() + ofPlace * std::max({std::fabs(p.x), std::fabs(p.y), std::fabs(p.z)});
}

}  // namespace

bool measureThickness(const MeshCollider& mesh, Array<double>& thicknesses, uint32 threadCount,
                      CancelCallback callback)
{
    thicknesses.clear();
    const uint32 count = mesh.getMesh().getFacesSize();
    const double inwards = hasValidIndices(mesh.getMesh()) && signedVolume(mesh.getMesh()) < 0 ? 1 : -1;
    Array<Ray3D> rays(count);
    for (uint32 f = 0; f < count; ++f)
    {
        const Triangle face = faceOf(mesh.getMesh(), f);
        const double size = length(face.normal()), longest = face.longest();
        const Vector3D into =
            size > needle * longest * longest ? face.normal() * (inwards / size) : Vector3D{};
        rays[f] = {face.middle() + into * startOf(face), into};
    }
    Array<MeshPoint> hits;
    if (!mesh.castRays({rays.data(), rays.size()}, hits, std::numeric_limits<double>::infinity(), threadCount,
                       callback))
        return false;
    thicknesses.resize(count);
    for (uint32 f = 0; f < count; ++f) thicknesses[f] = hits[f].distance + startOf(faceOf(mesh.getMesh(), f));
    return true;
}

ThicknessSummary summarizeThickness(const MeshCollider& mesh, const Array<double>& thicknesses)
{
    std::vector<uint32> faces;
    for (uint32 f = 0; f < thicknesses.size(); ++f)
        if (std::isfinite(thicknesses[f])) faces.push_back(f);
    if (faces.empty()) return {0, 0, 0, noIndex};
    std::sort(faces.begin(), faces.end(),
              [&](uint32 f, uint32 g)
              { return thicknesses[f] != thicknesses[g] ? thicknesses[f] < thicknesses[g] : f < g; });
    const auto area = [&](uint32 f) { return length(faceOf(mesh.getMesh(), f).normal()); };
    const double half = std::accumulate(faces.begin(), faces.end(), 0.0,
                                        [&](double sum, uint32 f) { return sum + area(f); }) /
                        2;
    double thinner = 0;
    auto middle =
        std::find_if(faces.begin(), faces.end(), [&](uint32 f) { return (thinner += area(f)) >= half; });
    if (middle == faces.end()) --middle;  // where rounding has it
    return {thicknesses[faces.front()], thicknesses[faces.back()], thicknesses[*middle], faces.front()};
}

}  // namespace tavrix
