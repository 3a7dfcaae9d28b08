// A ball is drawn out into a thin sheet by two vortices, and back again: the deformation test for surfaces
// that move (D. Enright et al., Journal of Computational Physics 183, 2002). Every frame becomes an OBJ file.
//
//     deformation FOLDER [NODES]
//
// writes FOLDER/frame_00.obj to frame_24.obj, of a level set with NODES nodes along each side of the unit
// cube, 80 when absent, and prints how much of the volume each has kept. Where the sheet gets thinner than
// two nodes, volume is lost for good; more nodes keep more. The frames become pictures by
//
//     tavrix preview "FOLDER/frame_{}.obj" -o "FOLDER/frame_{}.png" --camera 1.9,1.4,2.1,0.5,0.5,0.5
//
// The example shows how a surface is carried along with a flow that is given as a function of place and time.

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <string>
#include <string_view>

#include <tavrix/foundation/ArrayOfPtr.h>
#include <tavrix/implicit/LevelSetAdvection.h>
#include <tavrix/implicit/LevelSetExtraction.h>
#include <tavrix/mesh/Mesh.h>
#include <tavrix/mesh/MeshTopology.h>
#include <tavrix/meshio/Mesh_OBJ_FileParser.h>
#include <tavrix/platform/Hardware.h>

using namespace tavrix;

namespace
{

constexpr double pi = 3.14159265358979;
constexpr uint32 frames = 25;
constexpr double duration = 3;  ///< there and back
constexpr Vector3D center{0.35, 0.35, 0.35};
constexpr double radius = 0.15;

const uint32 threads = Hardware::getThreadCount();

/// Free of divergence, and zero at the sides of the cube; it turns round in the middle of the time.
Vector3D velocity(const Vector3D& p, double time)
{
    const double now = std::cos(pi * time / duration);
    const double x = std::sin(pi * p.x), y = std::sin(pi * p.y), z = std::sin(pi * p.z);
    const double xx = std::sin(2 * pi * p.x), yy = std::sin(2 * pi * p.y), zz = std::sin(2 * pi * p.z);
    return Vector3D{2 * x * x * yy * zz, -xx * y * y * zz, -xx * yy * z * z} * now;
}

/// The distances from the ball on the unit cube's nodes, in a band of three.
LevelSet makeBall(uint32 nodes)
{
    const double separation = 1.0 / (nodes - 1), band = 3 * separation;
    LevelSet surface;
    surface.reset(nodes, nodes, nodes, separation);
    surface.moveTo({0.5, 0.5, 0.5});
    surface.setBand(static_cast<float>(band));
    for (uint32 m = 0; m < surface.getArraySize(); ++m)
    {
        const double distance = length(surface.getField().getPoint(m) - center) - radius;
        surface.set(m, static_cast<float>(std::clamp(distance, -band, band)));
    }
    return surface;
}

/// Writes the surface, with normals, and tells its volume. False when it cannot be written.
bool write(const LevelSet& surface, const std::string& path, double time)
{
    ArrayOfPtr<Mesh> meshes;
    meshes.push_back(new Mesh);
    Mesh& mesh = *meshes[0];
    mesh.setName("sheet");
    extractClosed(surface, mesh, threads);
    mesh.recalculateNormalsParallelized(threads);
    const double ballVolume = 4 * pi / 3 * radius * radius * radius;
    std::printf("%s  time %.3f, %7u faces, %5.1f %% of the volume\n", path.c_str(), time, mesh.getFacesSize(),
                100 * signedVolume(mesh) / ballVolume);
    if (MeshFileParser<Mesh_OBJ_FileParser>::instance().write(TX_String(path), meshes) == 0) return true;
    std::fprintf(stderr, "deformation: cannot write %s: is the disk full?\n", path.c_str());
    return false;
}

int run(const std::string& folder, uint32 nodes)
{
    std::error_code ignored;
    std::filesystem::create_directories(std::u8string(folder.begin(), folder.end()), ignored);
    LevelSet surface = makeBall(nodes);
    LevelSetAdvectionSettings settings;
    settings.threadCount = threads;
    for (uint32 frame = 0; frame < frames; ++frame)
    {
        const double time = duration * frame / (frames - 1), before = time - duration / (frames - 1);
        if (frame > 0) advect(surface, velocity, before, time, settings);
        char name[24];
        std::snprintf(name, sizeof name, "/frame_%02u.obj", frame);
        if (!write(surface, folder + name, time)) return 1;
    }
    return 0;
}

}  // namespace

int main(int count, char** arguments)
{
    uint32 nodes = 80;
    const std::string_view text = count == 3 ? arguments[2] : "80";
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), nodes);
    const bool isCount =
        error == std::errc() && end == text.data() + text.size() && nodes >= 20 && nodes <= 1000;
    if (count >= 2 && count <= 3 && arguments[1][0] != '-' && isCount) return run(arguments[1], nodes);
    std::fputs("usage: deformation FOLDER [NODES]   20 to 1000 of them along a side\n", stderr);
    return 2;
}
