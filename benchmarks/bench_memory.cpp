// What works take in memory beside what they are given, ours and those of other libraries that are installed:
// each in a process of its own, whose peak is read when it is done. Linux.

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <string>

#include <sys/wait.h>
#include <unistd.h>

#include <tavrix/tavrix.h>

#include "Gyroid.h"
#include "Rows.h"
#include "Torus.h"

#if defined(TAVRIX_WITH_VTK)
#include "VtkPeer.h"
#include "WeldPeers.h"
#endif
#if defined(TAVRIX_WITH_OPENVDB)
#include "VdbPeer.h"
#endif
#if defined(TAVRIX_WITH_TINYOBJ)
#include "MeshPeers.h"
#endif
#if defined(TAVRIX_WITH_MESHOPTIMIZER)
#include "DecimationPeer.h"
#endif
#if defined(TAVRIX_WITH_EMBREE)
#include "EmbreePeer.h"
#endif

using namespace tavrix;

namespace
{

/// A line of /proc/self/status in MiB.
double statusOf(const char* name)
{
    double kibibytes = 0;
    char line[256];
    std::FILE* const file = std::fopen("/proc/self/status", "r");
    if (!file) return 0;
    while (std::fgets(line, sizeof line, file))
        if (std::string(line).starts_with(name)) kibibytes = std::atof(line + std::string(name).size() + 1);
    std::fclose(file);
    return kibibytes / 1024;
}

/// MiB that the work takes at most beside what is there before, in a process of its own; -1 when it failed.
double peakOf(const std::function<void()>& work)
{
    int ends[2];
    if (pipe(ends) != 0) return -1;
    const pid_t child = fork();
    if (child == 0)
    {
        // a new peak begins here
        if (std::FILE* const file = std::fopen("/proc/self/clear_refs", "w"))
        {
            std::fputs("5", file);
            std::fclose(file);
        }
        const double before = statusOf("VmRSS:");
        work();
        const double peak = statusOf("VmHWM:") - before;
        _exit(write(ends[1], &peak, sizeof peak) == sizeof peak ? 0 : 1);
    }
    close(ends[1]);
    double peak = -1;
    if (child < 0 || read(ends[0], &peak, sizeof peak) != sizeof peak) peak = -1;
    close(ends[0]);
    if (child > 0) waitpid(child, nullptr, 0);
    return peak;
}

/// Ours beside one or no peer.
class Comparison
{
public:
    Comparison(std::string work, const std::function<void()>& ours)
        : _work(std::move(work)), _ours(peakOf(ours))
    {
        std::printf("%s\n  tavrix                           %7.0f MiB\n", _work.c_str(), _ours);
    }
    ~Comparison()
    {
        if (!_hasPeer) benchmark::memoryRow(_work, _ours);
    }
    Comparison(const Comparison&) = delete;
    Comparison& operator=(const Comparison&) = delete;

    void beside(const char* peer, const std::function<void()>& work)
    {
        const double its = peakOf(work);
        std::printf("  %-32s %7.0f MiB\n", peer, its);
        benchmark::memoryRow(_work, _ours, {peer, its, 1});
        _hasPeer = true;
    }

private:
    std::string _work;
    double _ours;
    bool _hasPeer = false;
};

std::vector<float> coordinatesOf(const Mesh& mesh)
{
    std::vector<float> coordinates;
    coordinates.reserve(std::size_t{3} * mesh.getPosSize());
    for (const Vector3D& p : mesh.pos())
        for (uint32 axis = 0; axis < 3; ++axis) coordinates.push_back(static_cast<float>(p[axis]));
    return coordinates;
}

void compareExtraction()
{
    const auto field = benchmark::gyroid(256);
    Comparison extraction("surface of 256^3 samples",
                          [&]
                          {
                              Mesh mesh;
                              IsosurfaceExtractor3::extractMesh(field, mesh, 0.0f, 0, 0, 0, 0, 0, 0, 1,
                                                                nullptr, false);
                          });
#if defined(TAVRIX_WITH_VTK)
    extraction.beside("vtkFlyingEdges3D",
                      [&] { flyingEdges(field.getArrScalars().data(), static_cast<int>(field.sizeX()), 1); });
#endif
}

void compareRedistancing()
{
    constexpr uint32 size = 256;
    constexpr double separation = 2.0 / (size - 1), radius = 0.6;
    ImplicitSurface3Regular<float> surface;
    surface.reset(size, size, size, separation);
    Array<float> exact(surface.getArraySize());
    for (uint32 m = 0; m < exact.size(); ++m)
    {
        exact[m] = static_cast<float>(length(surface.getField().getPoint(m)) - radius);
        surface.set(m, std::fabs(exact[m]) < 2 * separation ? exact[m] : exact[m] < 0 ? -10.f : 10.f);
    }
    Comparison redistancing("redistancing of 256^3 nodes",
                            [&] { surface.fastSweeping(static_cast<float>(1e-3 * separation), 1); });
#if defined(TAVRIX_WITH_OPENVDB)
    redistancing.beside("sdfToSdf and its grid",
                        [&] {
                            sdfToSdf(surface.getField().getDenseSamples(), exact.data(),
                                     static_cast<int>(size), separation, 1, 1);
                        });
#endif
}

void compareTree()
{
    const Mesh mesh = benchmark::bumpyTorus(708);
    const std::vector<float> coordinates = coordinatesOf(mesh);
    Comparison tree("tree over a million faces",
                    [&]
                    {
                        MeshCollider collider;
                        collider.create(mesh);
                    });
#if defined(TAVRIX_WITH_EMBREE)
    tree.beside("Embree",
                [&]
                {
                    const EmbreePeer peer(coordinates.data(), mesh.getPosSize(), &mesh.trindexPos()[0].a,
                                          mesh.getFacesSize());
                });
#endif
}

void compareReading()
{
    const std::string path = "/dev/shm/bench_memory." + std::to_string(getpid()) + ".obj";
    Mesh mesh = benchmark::bumpyTorus(708);
    mesh.recalculateNormals();
    const auto& parser = MeshFileParser<Mesh_OBJ_FileParser>::instance();
    parser.write(path, mesh);
    Comparison reading("OBJ file of a million faces read",
                       [&]
                       {
                           ArrayOfPtr<Mesh> meshes;
                           parser.read(path, meshes);
                       });
#if defined(TAVRIX_WITH_TINYOBJ)
    reading.beside("tinyobjloader", [&] { tinyobjRead(path.c_str()); });
#endif
    std::filesystem::remove(path);
}

void compareWelding()
{
    const Mesh mesh = benchmark::bumpyTorus(708);
    Array<Vector3F> soup;
    Array<Index3> faces(mesh.getFacesSize());
    soup.reserve(3 * faces.size());
    for (uint32 f = 0; f < faces.size(); ++f)
    {
        for (uint32 c = 0; c < 3; ++c) soup.push_back(convert<float>(mesh.pos()[mesh.trindexPos()[f][c]]));
        faces[f] = {3 * f, 3 * f + 1, 3 * f + 2};
    }
    Comparison welding("three million corners joined",
                       [&]
                       {
                           Array<Vector3F> points;
                           Array<Index3> left;
                           Vector3Simplifier<float>().simplify(soup, faces, points, left,
                                                               {std::numeric_limits<float>::denorm_min()},
                                                               V3S_SIMP_MODE::center);
                       });
#if defined(TAVRIX_WITH_VTK)
    welding.beside("vtkStaticCleanPolyData", [&] { vtkStaticWeld(&soup[0].x, soup.size(), 0, 1); });
#endif
}

void compareDecimation()
{
    const Mesh mesh = benchmark::bumpyTorus(708);
    const std::vector<float> coordinates = coordinatesOf(mesh);
    Comparison decimation("a million faces to a tenth",
                          [&]
                          {
                              Mesh made(mesh);
                              decimateMesh(made, {.faces = mesh.getFacesSize() / 10, .threadCount = 1});
                          });
#if defined(TAVRIX_WITH_MESHOPTIMIZER)
    decimation.beside("meshoptimizer",
                      [&]
                      {
                          meshoptimizerSimplify(coordinates.data(), mesh.getPosSize(),
                                                &mesh.trindexPos()[0].a, mesh.getFacesSize(),
                                                mesh.getFacesSize() / 10);
                      });
#endif
}

}  // namespace

int main()
{
    compareExtraction();
    compareRedistancing();
    compareTree();
    compareReading();
    compareWelding();
    compareDecimation();
    return 0;
}
