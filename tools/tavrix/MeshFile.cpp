#include "MeshFile.h"

#include <algorithm>
#include <filesystem>

#include <tavrix/meshio/Mesh_OBJ_FileParser.h>
#include <tavrix/platform/FileBufferIn.h>

#include "Failure.h"
#include "FileName.h"

namespace tavrix::tool
{

namespace
{

constexpr uint32 particleMagic = 0x00FABADA;

/// The first four bytes of a file as a little-endian number; 0 for a shorter one.
uint32 magicOf(const std::string& path)
{
    std::error_code ignored;
    if (std::filesystem::is_directory(std::u8string(path.begin(), path.end()), ignored))
        throw Failure(path + ": is a folder; name a file in it");
    FileBufferIn file;
    if (file.open(TX_String(path), "rb", 16) != FileStatus::ok)
        throw Failure(path + ": cannot be opened; does it exist, and may it be read?");
    uint32 magic = 0;
    return file.readUInt(&magic) == 1 ? magic : 0;
}

void refuseFailedRead(const std::string& path, int result)
{
    if (result == meshFileCannotOpen)
        throw Failure(path + ": cannot be opened; does it exist, and may it be read?");
    if (result == meshFileEndsTooEarly) throw Failure(path + ": is cut off; write or copy it again");
    if (result < 0) throw Failure(path + ": is damaged, or no mesh file of its kind; export the mesh again");
}

}  // namespace

FileKind kindOfFile(const std::string& path)
{
    const uint32 magic = magicOf(path);
    const std::string extension = extensionOf(path);
    if (magic == particleMagic) return FileKind::Particles;
    if (extension == "obj") return FileKind::ObjMesh;
    if (extension == "bin") throw Failure(path + ": is no particle BIN file; export it again");
    throw Failure(path + ": its kind cannot be told; give a particle file (.bin) or a mesh (.obj)");
}

ArrayOfPtr<Mesh> readMeshes(const std::string& path)
{
    ArrayOfPtr<Mesh> meshes;
    refuseFailedRead(path, MeshFileParser<Mesh_OBJ_FileParser>::instance().read(TX_String(path), meshes));
    if (std::all_of(meshes.begin(), meshes.end(), [](const Mesh* mesh) { return mesh->isEmpty(); }))
        throw Failure(path + ": holds no faces; give a file that does");
    return meshes;
}

}  // namespace tavrix::tool
