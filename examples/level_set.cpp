// Level sets: a torus is grown, shrunk and hollowed, and every step becomes an OBJ file.
//
//     level_set FOLDER
//
// writes FOLDER/torus.obj, grown.obj, shrunk.obj and hollow.obj, and prints their volumes beside those that
// geometry gives. The example shows ImplicitSurface3Regular, the distance from a surface as samples on a
// grid: negative inside, positive outside. Moving the surface is then adding a number, and combining solids
// is taking the larger or smaller of two numbers, whatever their shape.

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <string>

#include <tavrix/foundation/ArrayOfPtr.h>
#include <tavrix/implicit/ImplicitSurface3Regular.h>
#include <tavrix/mesh/Mesh.h>
#include <tavrix/mesh/MeshTopology.h>
#include <tavrix/meshio/Mesh_OBJ_FileParser.h>
#include <tavrix/platform/Hardware.h>

using namespace tavrix;

namespace
{

using LevelSet = ImplicitSurface3Regular<float>;

constexpr double pi = 3.14159265358979;
constexpr double ringRadius = 1.0, tubeRadius = 0.35;
constexpr double separation = 0.02;          ///< of the grid's nodes
constexpr float tolerance = 0.001f * 0.02f;  ///< when sweeping ends, a thousandth of that
constexpr float step = 0.1f;  ///< by which the torus grows and shrinks, and its wall when hollow

const uint32 threads = Hardware::getThreadCount();

double torusVolume(double tube) { return 2 * pi * pi * ringRadius * tube * tube; }

/// A torus around the y axis, of quads cut in two, facing outwards.
Mesh makeTorus()
{
    constexpr uint32 around = 256, across = 128;
    Array<Vector3D> positions;
    Array<Index3> faces;
    for (uint32 i = 0; i < around; ++i)
        for (uint32 j = 0; j < across; ++j)
        {
            const double u = 2 * pi * i / around, v = 2 * pi * j / across;
            const double fromAxis = ringRadius + tubeRadius * std::cos(v);
            positions.push_back({fromAxis * std::cos(u), tubeRadius * std::sin(v), fromAxis * std::sin(u)});
            const uint32 nextI = (i + 1) % around, nextJ = (j + 1) % across;
            const uint32 a = i * across + j, b = nextI * across + j, c = nextI * across + nextJ,
                         d = i * across + nextJ;
            faces.push_back({a, c, b});
            faces.push_back({a, d, c});
        }
    Mesh torus;
    torus.assign("torus", positions, faces, pi);  // smooth over every edge
    return torus;
}

/// The torus as distances, exact within ten separations of it. The grid has room for it to grow.
LevelSet sample(const Mesh& torus)
{
    const double room = step + 4 * separation;
    const Box3D box = torus.getBox();
    LevelSet surface;
    surface.init(torus, separation,
                 {box.min - Vector3D{room, room, room}, box.max + Vector3D{room, room, room}},
                 TX_IMPLICIT_SURFACE_SIGNED, threads, nullptr, 10);
    return surface;
}

/// The part of the solid that is no deeper than the wall: inside the surface, but outside of the same surface
/// moved inwards.
void hollow(LevelSet& surface, float wall)
{
    for (float& distance : surface.refField().refArrScalars())
        distance = std::max(distance, -(distance + wall));
}

/// Extracts the surface, with normals, and writes it. False when it cannot be written.
bool write(const LevelSet& surface, const std::string& folder, const char* name, double expectedVolume)
{
    ArrayOfPtr<Mesh> meshes;
    meshes.push_back(new Mesh);
    Mesh& mesh = *meshes[0];
    mesh.setName(name);
    surface.extractExplicitSurface(mesh, threads, nullptr);
    mesh.recalculateNormalsParallelized(threads);
    std::printf("%-8s %7u faces, %s, volume %.4f (of a true torus: %.4f)\n", name, mesh.getFacesSize(),
                computeTopology(mesh).isClosed() ? "closed" : "open", signedVolume(mesh), expectedVolume);
    const std::string path = folder + "/" + name + ".obj";
    if (MeshFileParser<Mesh_OBJ_FileParser>::instance().write(TX_String(path), meshes) == 0) return true;
    std::fprintf(stderr, "level_set: cannot write %s: is the folder there, and the disk not full?\n",
                 path.c_str());
    return false;
}

int run(const std::string& folder)
{
    std::error_code ignored;
    std::filesystem::create_directories(std::u8string(folder.begin(), folder.end()), ignored);

    const LevelSet torus = sample(makeTorus());
    std::printf("%u nodes, %u of them next to the surface\n", torus.getArraySize(),
                torus.getNumberOfSurfaceCells());

    LevelSet grown = torus;
    grown.offsetSurface(-step);  // smaller samples: the surface moves outwards

    // Samples that were cut off at ten separations are no distances of the moved surface. Redistancing makes
    // them such, as far as five separations here, by fast sweeping from the nodes next to the surface.
    grown.redistance(static_cast<float>(5 * separation), tolerance, threads);

    LevelSet shrunk = torus;
    shrunk.offsetSurface(step);

    LevelSet hollowed = torus;
    hollow(hollowed, step);

    const double inner = torusVolume(tubeRadius - step);
    return write(torus, folder, "torus", torusVolume(tubeRadius)) &&
                   write(grown, folder, "grown", torusVolume(tubeRadius + step)) &&
                   write(shrunk, folder, "shrunk", inner) &&
                   write(hollowed, folder, "hollow", torusVolume(tubeRadius) - inner)
               ? 0
               : 1;
}

}  // namespace

int main(int count, char** arguments)
{
    if (count == 2 && arguments[1][0] != '-') return run(arguments[1]);
    std::fputs("usage: level_set FOLDER\n", stderr);
    return 2;
}
