#include "formats/MeshFile.h"

#include <algorithm>
#include <array>

#include <tavrix/meshio/Mesh_BIN_FileParser.h>
#include <tavrix/meshio/Mesh_OBJ_FileParser.h>
#include <tavrix/meshio/MeshImporter.h>
#include <tavrix/meshio/MeshSTLFileParser.h>
#include <tavrix/platform/FileBufferIn.h>

#include "formats/Bytes.h"
#include "formats/Failure.h"
#include "formats/FileKind.h"
#include "formats/Gltf.h"
#include "formats/ImportLibrary.h"
#include "formats/Off.h"
#include "formats/ThreeMf.h"

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
    if (result == meshFileEndsTooEarly) refuseCut(path);
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

int readStl(const std::string& path, MeshFile& file)
{
    using Encoding = MeshSTLFileParser::Encoding;
    const Encoding encoding = isBinaryStl(path) ? Encoding::binary : Encoding::ascii;
    ArrayOfPtr<Mesh>& meshes = file.meshes;
    const int result = parser<MeshSTLFileParser>().read(TX_String(path), meshes, encoding, file.report);
    if (encoding == Encoding::binary && file.report.isCut) return meshFileEndsTooEarly;
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

int readBin(const std::string& path, MeshFile& file)
{
    const int result = parser<Mesh_BIN_FileParser>().read(TX_String(path), file.meshes);
    for (Mesh* mesh : file.meshes)
    {
        dropPlaceholders(*mesh);
        file.report.faces = statedFaces(path) - mesh->getFacesSize();
    }
    return result;
}

/// Reads a file by a parser of the library, which needs it on the disk.
int parse(FileKind kind, const std::string& path, MeshFile& file, uint32 threadCount)
{
    const TX_String name(path);
    if (kind == FileKind::MeshBin) return readBin(path, file);
    if (kind == FileKind::Stl) return readStl(path, file);
    if (kind == FileKind::Ase) return parser<MeshImporter>().read_ASE(name, file.meshes);
    return parser<Mesh_OBJ_FileParser>().readLeniently(name, file.meshes, ObjReadingMode::groupByName,
                                                       file.report, threadCount);
}

void readAs(FileKind kind, const std::string& path, MeshFile& file, uint32 threadCount)
{
    switch (kind)
    {
        case FileKind::Obj:
        case FileKind::MeshBin:
        case FileKind::Stl:
        case FileKind::Ase:
            return refuseFailedRead(path, parse(kind, PlainFile(path).path(), file, threadCount));
        case FileKind::Ply:
        case FileKind::VtkLegacy:
        case FileKind::VtkXml:
            return addMesh(file.meshes, surfaceOf(readPolygonData(path), file.report), file.report);
        case FileKind::Off:
            return addMesh(file.meshes, readOff(path, file.report), file.report);
        case FileKind::Gltf:
            return readGltf(path, file.meshes, file.report);
        case FileKind::ThreeMf:
            return readThreeMf(path, file.meshes, file.report);
        case FileKind::Other:
            return importMeshes(path, file.meshes, file.report);
        default:
            break;
    }
    throw Failure(path + ": holds particles, not a mesh; make one with tavrix surface");
}

}  // namespace

bool isBinaryStl(const std::string& path)
{
    MeshSTLFileParser::Encoding encoding = MeshSTLFileParser::Encoding::ascii;
    refuseFailedRead(path, MeshSTLFileParser::encodingBySize(TX_String(path), encoding));
    return encoding == MeshSTLFileParser::Encoding::binary || beginsWithZeroBytes(path);
}

std::string leftOutText(const MeshReadingReport& report)
{
    std::string text;
    const auto add = [&](uint64 count, const char* one, const char* many)
    {
        if (count == 0) return;
        text += (text.empty() ? "" : ", ") + std::to_string(count) + (count == 1 ? one : many);
    };
    add(report.faces, " face is left out", " faces are left out");
    add(report.corners, " corner names nothing that is there", " corners name nothing that is there");
    add(report.numbers, " number is missing", " numbers are missing");
    if (report.isCut) text += (text.empty() ? "" : ", ") + std::string("the file ends too early");
    return text;
}

MeshFile readMeshes(const std::string& path, uint32 threadCount)
{
    MeshFile file;
    readAs(kindOfFile(path), path, file, threadCount);
    uint32 faces = 0;
    for (const Mesh* mesh : file.meshes) faces += mesh->getFacesSize();
    if (faces == 0) throw Failure(path + ": holds no faces; give a file that does");
    return file;
}

}  // namespace tavrix::formats
