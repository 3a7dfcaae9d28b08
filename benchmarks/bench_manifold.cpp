// What is not manifold in the surfaces of random sprays, or of particle files: bench_manifold [SPRAYS] or
// bench_manifold FILE... For each kernel and way of finishing the mesh, the numbers of surfaces with faults,
// edges of three and more faces, vertices of several fans, borders and places where sheets touch. Every other
// spray lies on the lattice, where the level of the balls' kernel falls on nodes.

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <vector>

#include <tavrix/mesh/Mesh.h>
#include <tavrix/mesh/MeshTopology.h>
#include <tavrix/particles/ParticleSpacing.h>
#include <tavrix/particles/ParticleSystem_v3.h>
#include <tavrix/reconstruction/SurfaceReconstruction.h>

using namespace tavrix;

namespace
{

constexpr double radius = 0.025, spacing = 0.0125;

Array<Vector3F> spray(uint32 seed)
{
    std::mt19937 random(seed * 7919 + 1);
    const auto unit = [&] { return static_cast<float>(random() % 1000001) / 1000000.0f; };
    const float size = 0.4f + 0.5f * unit();
    constexpr auto step = static_cast<float>(spacing);
    const auto placed = [&](float v) { return seed % 2 == 0 ? v : std::round(v / step) * step; };
    Array<Vector3F> positions;
    for (uint32 n = 0; n < 3000; ++n)
        positions.push_back({placed(size * unit()), placed(size * unit()), placed(size * unit())});
    return positions;
}

struct Finish
{
    const char* name;
    bool cleanUp;
    uint32 smoothing;
    double weldTolerance;   ///< in spacings; 0: none
    double decimation = 0;  ///< 0: none
};

struct Tally
{
    uint32 surfaces = 0, faulty = 0, edges = 0, vertices = 0, borders = 0, contacts = 0;

    void add(const MeshTopology& topology)
    {
        ++surfaces;
        faulty += topology.isManifold() && topology.isClosed() ? 0 : 1;
        edges += topology.nonManifoldEdgeCount;
        vertices += topology.nonManifoldVertexCount;
        borders += topology.boundaryEdgeCount;
        contacts += topology.selfContactCount;
    }
};

struct Kernel
{
    const char* name;
    SurfaceKernel kernel;
};

/// The sprays or the files' particles, each with its radius.
std::vector<Array<Vector3F>> scenesOf(int argc, char** argv)
{
    std::vector<Array<Vector3F>> scenes;
    const int sprays = argc > 1 ? std::atoi(argv[1]) : 20;
    for (int seed = 0; seed < sprays; ++seed) scenes.push_back(spray(static_cast<uint32>(seed)));
    for (int n = 1; n < argc && sprays == 0; ++n)
    {
        ParticleSystem_v3 system;
        system.load_BIN(argv[n]);
        scenes.push_back(system.getArrPosition());
    }
    return scenes;
}

}  // namespace

int main(int argc, char** argv)
{
    const bool areFiles = argc > 1 && std::atoi(argv[1]) == 0;
    const std::vector<Array<Vector3F>> scenes = scenesOf(argc, argv);
    std::printf("%-14s %-22s %8s %7s %7s %9s %8s %9s\n", "kernel", "finish", "surfaces", "faulty", "edges",
                "vertices", "borders", "contacts");
    for (const Kernel& kernel :
         {Kernel{"metaball", SurfaceKernel::Metaball}, Kernel{"distance", SurfaceKernel::Distance},
          Kernel{"anisotropic", SurfaceKernel::Anisotropic}})
        for (const Finish& finish : {Finish{"none", false, 0, 0}, Finish{"clean-up", true, 0, 0},
                                     Finish{"simplify 0.4", true, 0, 0.4}, Finish{"smooth 50", true, 50, 0},
                                     Finish{"smooth 50, simplify 1.3", true, 50, 1.3},
                                     Finish{"smooth 50, a tenth", true, 50, 0, 0.1}})
        {
            Tally tally;
            for (const Array<Vector3F>& scene : scenes)
            {
                ReconstructionSettings settings{.kernel = kernel.kernel,
                                                .radius = areFiles ? estimateRadius(scene) : radius,
                                                .cleanUp = finish.cleanUp,
                                                .smoothing = finish.smoothing,
                                                .normals = false};
                if (finish.weldTolerance > 0)
                    settings.weldTolerance = finish.weldTolerance * *settings.radius / 2;
                if (finish.decimation > 0) settings.decimation = finish.decimation;
                Mesh mesh;
                reconstructSurface(scene, mesh, settings);
                if (!mesh.isEmpty()) tally.add(computeTopology(mesh));
            }
            std::printf("%-14s %-22s %8u %7u %7u %9u %8u %9u\n", kernel.name, finish.name, tally.surfaces,
                        tally.faulty, tally.edges, tally.vertices, tally.borders, tally.contacts);
            std::fflush(stdout);
        }
    return 0;
}
