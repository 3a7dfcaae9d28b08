#include <algorithm>
#include <array>
#include <string_view>

#include <tavrix/mesh/MeshRepair.h>
#include <tavrix/meshio/Mesh_BIN_FileParser.h>
#include <tavrix/meshio/Mesh_OBJ_FileParser.h>
#include <tavrix/meshio/MeshSTLFileParser.h>

#include "formats/FileName.h"
#include "formats/MeshFile.h"
#include "formats/MeshWriters.h"
#include "formats/OutputFile.h"

namespace tavrix::formats
{

namespace
{

/// The name as the header of a binary STL file: one that fits into it, and without the words by which readers
/// tell ASCII files.
std::string stlHeader(const Mesh& mesh)
{
    static constexpr std::array<std::string_view, 5> words{"solid", "facet", "loop", "vertex", "color"};
    std::string name(mesh.getName().view());
    std::string small = name;
    for (char& c : small)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    const bool hasWord =
        std::any_of(words.begin(), words.end(),
                    [&](std::string_view word) { return small.find(word) != std::string::npos; });
    return hasWord || name.size() > 80 ? "mesh" : name;
}

int writeStl(const TX_String& path, const Mesh& mesh, bool ascii)
{
    using Encoding = MeshSTLFileParser::Encoding;
    const int result = MeshFileParser<MeshSTLFileParser>::instance().write(
        path, mesh, ascii ? Encoding::ascii : Encoding::binary);
    return result == 1 ? 0 : result;
}

int writeStl(const TX_String& path, const ArrayOfPtr<Mesh>& meshes, bool ascii)
{
    const bool isReady =
        meshes.size() == 1 && (ascii || stlHeader(*meshes[0]) == meshes[0]->getName().view());
    if (isReady) return writeStl(path, *meshes[0], ascii);
    Mesh all = joinMeshes(meshes);
    if (!ascii) all.setName(TX_String(stlHeader(all)));
    return writeStl(path, all, ascii);
}

}  // namespace

bool holdsAttributes(const std::string& path)
{
    const std::string extension = extensionOf(path);
    return extension == "ply" || extension == "vtp" || extension == "glb";
}

bool holdsVelocities(const std::string& path) { return extensionOf(path) == "bin" || holdsAttributes(path); }

bool holdsNormals(const std::string& path)
{
    const std::string extension = extensionOf(path);
    return extension != "stl" && extension != "bin";
}

void writeMeshes(const std::string& path, const ArrayOfPtr<Mesh>& meshes, const MeshWriteOptions& options)
{
    const std::string extension = extensionOf(path);
    const auto write = [&](const std::string& name)
    {
        if (extension == "stl") return writeStl(TX_String(name), meshes, options.asciiStl);
        if (extension == "bin")
            return MeshFileParser<Mesh_BIN_FileParser>::instance().write(TX_String(name), meshes);
        if (extension == "ply") return writePly(name, meshes, path);
        if (extension == "vtp") return writeVtp(name, meshes);
        if (extension == "glb") return writeGlb(name, meshes, path);
        return MeshFileParser<Mesh_OBJ_FileParser>::instance().write(TX_String(name), meshes,
                                                                     options.objNumbers);
    };
    writeFileWhole(path, write);
}

}  // namespace tavrix::formats
