#include "formats/MeshFile.h"

#include <algorithm>
#include <array>
#include <string_view>

#include <tavrix/mesh/MeshRepair.h>
#include <tavrix/meshio/Mesh_BIN_FileParser.h>
#include <tavrix/meshio/Mesh_OBJ_FileParser.h>
#include <tavrix/meshio/MeshImporter.h>
#include <tavrix/meshio/MeshSTLFileParser.h>
#include <tavrix/platform/FileBufferIn.h>

#include "formats/Failure.h"
#include "formats/FileKind.h"
#include "formats/FileName.h"
#include "formats/OutputFile.h"

namespace tavrix::formats
{

namespace
{

template <class Parser>
Parser& parser()
{
    return MeshFileParser<Parser>::instance();
}

[[noreturn]] void refuseUnopened(const std::string& path)
{
    throw Failure(path + ": cannot be opened; does it exist, and may it be read?");
}

void refuseFailedRead(const std::string& path, int result)
{
    if (result == meshFileCannotOpen) refuseUnopened(path);
    if (result == meshFileEndsTooEarly) throw Failure(path + ": is cut off; write or copy it again");
    if (result < 0) throw Failure(path + ": is damaged, or no mesh file of its kind; export the mesh again");
}

bool isDirection(const Vector3F& v) { return dot(v, v) > 0.1f && dot(v, v) < 10.0f; }

/// Whether there is a zero byte near the start, as in no text but in most binary STL files.
bool beginsWithZeroBytes(const std::string& path)
{
    std::array<char, 512> bytes;
    FileBufferIn file;
    file.open(TX_String(path), "rb", 512);
    const std::size_t count = file.readBuffer(bytes.data(), bytes.size());
    return std::find(bytes.begin(), bytes.begin() + count, '\0') != bytes.begin() + count;
}

/// The number of facets that a binary STL file states.
uint32 statedFacets(const std::string& path)
{
    FileBufferIn file;
    uint32 count = 0;
    file.open(TX_String(path), "rb", 16);
    file.seek(80, 0);
    file.readUInt(&count);
    return count;
}

int readStl(const std::string& path, ArrayOfPtr<Mesh>& meshes)
{
    using Encoding = MeshSTLFileParser::Encoding;
    const Encoding encoding = isBinaryStl(path) ? Encoding::binary : Encoding::ascii;
    const int result = parser<MeshSTLFileParser>().read(TX_String(path), meshes, encoding);
    if (result > 0 && encoding == Encoding::binary && meshes.back()->getFacesSize() < statedFacets(path))
        return meshFileEndsTooEarly;
    for (Mesh* mesh : meshes)
        if (!std::all_of(mesh->nor().begin(), mesh->nor().end(), isDirection)) mesh->recalculateNormals();
    return result;
}

/// The number of faces that a BIN mesh file states, behind its positions.
uint32 statedFaces(const std::string& path)
{
    FileBufferIn file;
    uint32 vertices = 0, faces = 0;
    file.open(TX_String(path), "rb", 16);
    file.seek(12, 0);
    file.readUInt(&vertices);
    file.seek(int64{vertices} * 12, 1);
    file.readUInt(&faces);
    return faces;
}

/// Releases texture coordinates that are zero throughout beside velocities: files that hold only velocities
/// have such, because readers find velocities only behind them.
void dropPlaceholders(Mesh& mesh)
{
    const Array<Vector3F>* textures = mesh.findArray<Vector3F>("UV_MAP_0");
    if (!textures || !mesh.findArray<Vector3F>("Velocity")) return;
    const auto isZero = [](const Vector3F& v) { return v == Vector3F{0, 0, 0}; };
    if (std::all_of(textures->begin(), textures->end(), isZero))
        mesh.releaseArray(mesh.findArray("UV_MAP_0"));
}

int readBin(const std::string& path, ArrayOfPtr<Mesh>& meshes)
{
    const int result = parser<Mesh_BIN_FileParser>().read(TX_String(path), meshes);
    for (Mesh* mesh : meshes) dropPlaceholders(*mesh);
    return result;
}

int readAs(FileKind kind, const std::string& path, ArrayOfPtr<Mesh>& meshes)
{
    switch (kind)
    {
        case FileKind::Obj:
            return parser<Mesh_OBJ_FileParser>().read(TX_String(path), meshes);
        case FileKind::MeshBin:
            return readBin(path, meshes);
        case FileKind::Stl:
            return readStl(path, meshes);
        case FileKind::Ase:
            return parser<MeshImporter>().read_ASE(TX_String(path), meshes);
        default:
            break;
    }
    throw Failure(path + ": holds particles, not a mesh; make one with tavrix surface");
}

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
    const int result =
        parser<MeshSTLFileParser>().write(path, mesh, ascii ? Encoding::ascii : Encoding::binary);
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

bool isBinaryStl(const std::string& path)
{
    MeshSTLFileParser::Encoding encoding = MeshSTLFileParser::Encoding::ascii;
    refuseFailedRead(path, MeshSTLFileParser::encodingBySize(TX_String(path), encoding));
    return encoding == MeshSTLFileParser::Encoding::binary || beginsWithZeroBytes(path);
}

MeshFile readMeshes(const std::string& path)
{
    MeshFile file{{}, 0};
    const FileKind kind = kindOfFile(path);
    refuseFailedRead(path, readAs(kind, path, file.meshes));
    uint32 faces = 0;
    for (const Mesh* mesh : file.meshes) faces += mesh->getFacesSize();
    if (faces == 0) throw Failure(path + ": holds no faces; give a file that does");
    if (kind == FileKind::MeshBin) file.leftOut = statedFaces(path) - faces;
    return file;
}

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
        if (extension == "bin") return parser<Mesh_BIN_FileParser>().write(TX_String(name), meshes);
        return parser<Mesh_OBJ_FileParser>().write(TX_String(name), meshes);
    };
    writeFileWhole(path, write);
}

}  // namespace tavrix::formats
