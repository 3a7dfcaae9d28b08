// How smooth the surfaces of the particle fields are: bench_roughness FILE RADIUS, a particle file whose y
// axis points up, as the dam_break example writes them. For each field, and after a relaxation, the mean
// angle between faces that share an edge, over the whole surface and over the liquid's top (faces that look
// up, away from the walls), the volume beside that of the particles, and the number of parts.

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>

#include <tavrix/fields/ScalarField3.h>
#include <tavrix/foundation/ElementaryFunctions.h>
#include <tavrix/isosurface/IsosurfaceExtractor3.h>
#include <tavrix/mesh/MeshTopology.h>
#include <tavrix/particles/ParticleSystem_v3.h>
#include <tavrix/platform/Timer.h>

using namespace tavrix;

namespace
{

using Field = ScalarField3<float, double>;
constexpr uint32 threads = 2;

struct Angle
{
    double sum = 0;
    uint32 count = 0;

    void add(double degrees)
    {
        sum += degrees;
        ++count;
    }
    double mean() const { return count ? sum / count : 0; }
};

Box3D boxOf(const Array<Vector3F>& positions)
{
    Box3D box = Box3D::empty();
    for (const Vector3F& p : positions) box.extend(convert<double>(p));
    return box;
}

Field emptyField(const Box3D& box, double reach, double spacing)
{
    Field field;
    const auto nodes = [&](uint32 axis)
    { return static_cast<uint32>((box.max[axis] - box.min[axis] + 2 * reach) / spacing) + 3; };
    field.reset(nodes(0), nodes(1), nodes(2), spacing);
    field.moveTo(box.center());
    return field;
}

/// Whether a face looks up and lies away from the walls and the floor.
bool isOnTop(const Vector3D& corner, const Wector3F& normal, const Box3D& box, double radius)
{
    const double wall = 6 * radius;
    return normal.y > 0.7f && corner.x > box.min.x + wall && corner.x < box.max.x - wall &&
           corner.z > box.min.z + wall && corner.z < box.max.z - wall && corner.y > box.min.y + wall;
}

void report(const char* name, Mesh& mesh, const Box3D& box, double radius, double seconds)
{
    mesh.recalculateFaceNormals();
    mesh.createSafe_arrTrindexFacedge();
    const auto& normals = mesh.faceNor();
    const auto& others = mesh.trindexFacedge();
    Angle all, top;
    for (uint32 face = 0; face < mesh.getFacesSize(); ++face)
        for (uint32 edge = 0; edge < 3; ++edge)
        {
            const IndexFacedge other = others[face][edge];
            if (other.isNone() || other.face() < face) continue;
            const Wector3F &a = normals[face], &b = normals[other.face()];
            const double cosine = double{a.x} * b.x + double{a.y} * b.y + double{a.z} * b.z;
            const double degrees = std::acos(std::clamp(cosine, -1.0, 1.0)) * 180 / piValue;
            all.add(degrees);
            if (isOnTop(mesh.pos()[mesh.trindexPos()[face].a], a, box, radius)) top.add(degrees);
        }
    std::printf("  %-24s %7.3f s  %8u faces  volume %8.4f  angles: all %6.3f, top %6.3f degrees\n", name,
                seconds, mesh.getFacesSize(), signedVolume(mesh), all.mean(), top.mean());
}

template <class Fill>
void measure(const char* name, Field field, float level, const Box3D& box, double radius, Fill fill)
{
    Timer timer;
    timer.start();
    fill(field);
    Mesh mesh;
    IsosurfaceExtractor3::extractMesh(field, mesh, level, 0, 0, 0, 0, 0, 0, threads, nullptr, true);
    for (Array<Index3>* faces : {&mesh.refTrindexPos(), &mesh.refTrindexNor()})
        for (Index3& face : *faces) std::swap(face.b, face.c);
    double seconds = timer.stop();
    report(name, mesh, box, radius, seconds);
    timer.start();
    IsosurfaceExtractor3::tension(mesh, 0.5f, 0.0f, 3, threads, nullptr);
    seconds += timer.stop();
    report("  and relaxed 3 times", mesh, box, radius, seconds);
}

}  // namespace

int main(int count, char** arguments)
{
    ParticleSystem_v3 particles;
    if (count < 3 || particles.load_BIN(arguments[1]) <= 0)
    {
        std::fprintf(stderr, "usage: bench_roughness FILE RADIUS\n");
        return 1;
    }
    const Array<Vector3F>& positions = particles.getArrPosition();
    const auto radius = static_cast<float>(std::atof(arguments[2]));
    const float reach = 5 * radius;
    const Box3D box = boxOf(positions);
    const Field empty = emptyField(box, reach, radius / 2.0);
    std::printf("%u particles, two radii apart they fill %.4f\n", positions.size(),
                positions.size() * std::pow(2.0 * radius, 3));
    const auto radii = [&](float r) { return Array<float>(positions.size(), r); };
    measure("distance, level 0.05", empty, 0.05f, box, radius,
            [&](Field& f) { f.setDistanceField(positions, radii(radius), reach, threads, nullptr); });
    for (const float influence : {60.0f, 100.0f})
        measure(influence == 60 ? "metaballs, influence 60" : "metaballs, influence 100", empty, 1.0f, box,
                radius,
                [&](Field& f)
                { f.setMetaballField(positions, radii(radius), reach, influence, threads, nullptr); });
    measure("anisotropic, reach 5", empty, std::pow(1 - 1.0f / 25, 3.0f), box, radius,
            [&](Field& f)
            {
                f.setAnisotropyDistanceField(positions, radii(reach / 2), reach, AnisotropySettings{},
                                             threads, nullptr);
            });
    return 0;
}
