// Mesh files of a gyroid of some two million faces: reading and writing OBJ, STL in both encodings and BIN,
// in MB/s of the file, beside tinyobjloader and assimp, where they are installed, on the same files. The best
// of three runs, files in the folder that the first argument names (/dev/shm, so that no disk is measured).

#include <cstdio>
#include <filesystem>
#include <functional>
#include <string>

#include <tavrix/tavrix.h>

#include "Gyroid.h"
#include "Measure.h"
#include "MeshPeers.h"
#include "Rows.h"

using namespace tavrix;

namespace
{

using Encoding = MeshSTLFileParser::Encoding;

const auto& objParser = MeshFileParser<Mesh_OBJ_FileParser>::instance();
const auto& stlParser = MeshFileParser<MeshSTLFileParser>::instance();
const auto& binParser = MeshFileParser<Mesh_BIN_FileParser>::instance();

void makeGyroid(uint32 size, Mesh& mesh)
{
    const auto field = benchmark::gyroid(size);
    IsosurfaceExtractor3::extractMesh(field, mesh, 0.0f, 0, 0, 0, 0, 0, 0, 2, nullptr, false);
    mesh.recalculateNormalsParallelized(2);
}

/// Milliseconds of an action, printed with the rate at which it moves the file.
double report(const char* who, const std::string& path, const std::function<bool()>& action)
{
    bool well = true;
    const double time = benchmark::leastMilliseconds([&] { well = action() && well; }, 3);
    const auto bytes = static_cast<double>(std::filesystem::file_size(path));
    std::printf("  %-14s %8.1f ms  %8.1f MB/s%s\n", who, time, bytes / time / 1e3, well ? "" : "  FAILED");
    return time;
}

struct Format
{
    const char* name;
    const char* extension;
    const char* assimpName;  ///< null where it knows no such format
    std::function<bool(const TX_String&, const Mesh&)> write;
    std::function<bool(const TX_String&, ArrayOfPtr<Mesh>&)> read;
};

const Format formats[] = {
    {"OBJ", "obj", "obj",
     [](const TX_String& path, const Mesh& mesh) { return objParser.write(path, mesh) == 0; },
     [](const TX_String& path, ArrayOfPtr<Mesh>& meshes) { return objParser.read(path, meshes) == 0; }},
    {"STL, ASCII", "ascii.stl", "stl",
     [](const TX_String& path, const Mesh& mesh)
     { return stlParser.write(path, mesh, Encoding::ascii) == 1; },
     [](const TX_String& path, ArrayOfPtr<Mesh>& meshes) { return stlParser.read(path, meshes) == 1; }},
    {"STL, binary", "stl", "stlb",
     [](const TX_String& path, const Mesh& mesh) { return stlParser.write(path, mesh) == 1; },
     [](const TX_String& path, ArrayOfPtr<Mesh>& meshes) { return stlParser.read(path, meshes) == 1; }},
    {"BIN", "bin", nullptr,
     [](const TX_String& path, const Mesh& mesh) { return binParser.write(path, mesh) == 0; },
     [](const TX_String& path, ArrayOfPtr<Mesh>& meshes) { return binParser.read(path, meshes) == 0; }},
};

void compare(const Format& format, const std::string& folder, const Mesh& mesh)
{
    const std::string path = folder + "/bench_meshio." + format.extension;
    if (!format.write(path, mesh)) return static_cast<void>(std::printf("%s: cannot write\n", path.c_str()));
    std::printf("%s, %.1f MB\n reading\n", format.name,
                static_cast<double>(std::filesystem::file_size(path)) / 1e6);
    const double reading = report("tavrix", path,
                                  [&]
                                  {
                                      ArrayOfPtr<Mesh> meshes;
                                      return format.read(path, meshes) && meshes[0]->getFacesSize() > 0;
                                  });
    if (std::string(format.extension) == "obj")
    {
        const auto readByTwo = [&]
        {
            ArrayOfPtr<Mesh> meshes;
            return objParser.read(path, meshes, ObjReadingMode::groupByName, 2) == 0;
        };
        benchmark::row("OBJ mesh read, 2 threads", report("2 threads", path, readByTwo));
#if defined(TAVRIX_WITH_TINYOBJ)
        const double peer = report("tinyobjloader", path, [&] { return tinyobjRead(path.c_str()) > 0; });
        std::printf("  tinyobjloader / tavrix = %.1f\n", peer / reading);
        benchmark::row("OBJ read", reading, {"tinyobjloader", peer, 1});
#endif
    }
#if defined(TAVRIX_WITH_ASSIMP)
    if (format.assimpName)
    {
        const double peer = report("assimp", path, [&] { return assimpRead(path.c_str()) > 0; });
        std::printf("  assimp / tavrix = %.1f\n", peer / reading);
        benchmark::row(std::string(format.name) + " read", reading, {"assimp", peer, 1});
    }
#endif
    std::printf(" writing\n");
    const double writing = report("tavrix", path, [&] { return format.write(path, mesh); });
#if defined(TAVRIX_WITH_ASSIMP)
    if (format.assimpName)
    {
        const std::string peerPath = path + ".peer";
        const double peer =
            report("assimp", path, [&] { return assimpWrite(peerPath.c_str(), format.assimpName); });
        std::printf("  assimp / tavrix = %.1f\n", peer / writing);
        benchmark::row(std::string(format.name) + " written", writing, {"assimp", peer, 1});
        std::filesystem::remove(peerPath);
        std::filesystem::remove(std::filesystem::path(peerPath).replace_extension(".mtl"));
    }
#endif
    benchmark::row(std::string(format.name) + " mesh read", reading);
    benchmark::row(std::string(format.name) + " mesh written", writing);
    std::filesystem::remove(path);
}

}  // namespace

int main(int count, char** arguments)
{
    const std::string folder = count > 1 ? arguments[1] : "/dev/shm";
#if !defined(TAVRIX_WITH_TINYOBJ)
    std::printf("built without tinyobjloader\n");
#endif
#if !defined(TAVRIX_WITH_ASSIMP)
    std::printf("built without assimp\n");
#endif
    Mesh mesh;
    makeGyroid(232, mesh);
    std::printf("gyroid: %u vertices, %u faces\n", mesh.getPosSize(), mesh.getFacesSize());
    for (const Format& format : formats) compare(format, folder, mesh);
    return 0;
}
