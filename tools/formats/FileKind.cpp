#include "formats/FileKind.h"

#include <algorithm>
#include <optional>
#include <string_view>

#include "formats/Bytes.h"
#include "formats/Failure.h"
#include "formats/FileName.h"
#include "formats/ImportLibrary.h"
#include "formats/PolygonData.h"

namespace tavrix::formats
{

namespace
{

struct KindTraits
{
    FileKind kind;
    const char* name;
    bool particles, mesh;
    std::vector<std::string> extensions;
};

/// What the import library reads and we do not.
std::vector<std::string> otherExtensions()
{
    static const std::vector<std::string> ours{"obj", "stl", "ase", "ply",  "vtk",  "vtu",
                                               "vtp", "vts", "off", "glb",  "gltf", "3mf",
                                               "xyz", "txt", "csv", "json", "bin"};
    std::vector<std::string> others;
    for (const std::string& extension : importExtensions())
        if (std::find(ours.begin(), ours.end(), extension) == ours.end()) others.push_back(extension);
    return others;
}

const std::vector<KindTraits>& table()
{
    static const std::vector<KindTraits> kinds{
        {FileKind::ParticleBin, "particle BIN", true, false, {}},
        {FileKind::MeshBin, "mesh BIN", false, true, {}},
        {FileKind::Obj, "OBJ", false, true, {"obj"}},
        {FileKind::Stl, "STL", false, true, {"stl"}},
        {FileKind::Ase, "ASE", false, true, {"ase"}},
        {FileKind::Ply, "PLY", true, true, {"ply"}},
        {FileKind::VtkLegacy, "legacy VTK", true, true, {"vtk"}},
        {FileKind::VtkXml, "VTK XML", true, true, {"vtu", "vtp", "vts"}},
        {FileKind::Bgeo, "BGEO", true, false, {"bgeo"}},
        {FileKind::Xyz, "XYZ", true, false, {"xyz", "txt"}},
        {FileKind::Csv, "CSV", true, false, {"csv", "tsv"}},
        {FileKind::Npy, "NPY", true, false, {"npy"}},
        {FileKind::Json, "JSON", true, false, {"json"}},
        {FileKind::Off, "OFF", false, true, {"off", "coff", "noff"}},
        {FileKind::Gltf, "glTF", false, true, {"glb", "gltf"}},
        {FileKind::ThreeMf, "3MF", false, true, {"3mf"}},
        {FileKind::Other, "imported", false, true, otherExtensions()},
    };
    return kinds;
}

const KindTraits& traitsOf(FileKind kind)
{
    return *std::find_if(table().begin(), table().end(),
                         [&](const KindTraits& traits) { return traits.kind == kind; });
}

std::optional<FileKind> kindOfContent(std::string_view head)
{
    using namespace std::string_view_literals;
    if (head.starts_with("\xDA\xBA\xFA\0"sv)) return FileKind::ParticleBin;
    if (head.starts_with("\xDA\xDA\xDA\xDA"sv)) return FileKind::MeshBin;
    if (head.starts_with("ply\n"sv) || head.starts_with("ply\r"sv)) return FileKind::Ply;
    if (head.starts_with("# vtk DataFile"sv)) return FileKind::VtkLegacy;
    if (head.find("<VTKFile"sv) != std::string::npos) return FileKind::VtkXml;
    if (head.starts_with("BgeoV"sv) || head.starts_with("\x7FNSJb"sv)) return FileKind::Bgeo;
    if (head.starts_with("\x93NUMPY"sv)) return FileKind::Npy;
    if (head.starts_with("glTF"sv)) return FileKind::Gltf;
    if (head.starts_with("PK\3\4"sv)) return FileKind::ThreeMf;
    if (head.starts_with("OFF\n"sv) || head.starts_with("OFF\r"sv)) return FileKind::Off;
    if (head.substr(std::min(head.find_first_not_of(" \t\r\n"), head.size())).starts_with('['))
        return FileKind::Json;
    return std::nullopt;
}

/// What text without a name is taken for: an object of JSON, or a table, which needs no more to be known.
FileKind kindOfText(std::string_view head)
{
    const std::size_t first = head.find_first_not_of(" \t\r\n");
    if (first != std::string::npos && head[first] == '{') return FileKind::Json;
    if (first == std::string::npos || head.find('\0') != std::string::npos)
        throw Failure("-: is of no known kind; give particles, as a .bin, .vtk or .csv file has them");
    return head.find_first_of(",;\t") != std::string::npos ? FileKind::Csv : FileKind::Xyz;
}

/// The extension, of water.csv.gz csv.
std::string extensionBeforeGzip(const std::string& path)
{
    const std::string extension = extensionOf(path);
    return extension == "gz" ? extensionOf(path.substr(0, path.size() - 3)) : extension;
}

std::vector<std::string> extensionsOf(bool KindTraits::*holds)
{
    std::vector<std::string> all{"bin"};
    for (const KindTraits& traits : table())
        if (traits.*holds && traits.kind != FileKind::Other)
            all.insert(all.end(), traits.extensions.begin(), traits.extensions.end());
    return all;
}

}  // namespace

bool mayHoldParticles(FileKind kind) { return traitsOf(kind).particles; }

bool mayHoldMesh(FileKind kind) { return traitsOf(kind).mesh; }

std::string formatName(FileKind kind) { return traitsOf(kind).name; }

const std::vector<std::string>& particleExtensions()
{
    static const std::vector<std::string> extensions = extensionsOf(&KindTraits::particles);
    return extensions;
}

const std::vector<std::string>& meshExtensions()
{
    static const std::vector<std::string> extensions = extensionsOf(&KindTraits::mesh);
    return extensions;
}

const std::vector<std::string>& writableExtensions()
{
    static const std::vector<std::string> extensions{"obj", "stl", "bin", "ply", "vtp", "glb"};
    return extensions;
}

FileKind kindOfFile(const std::string& path)
{
    const std::string head = readHead(path, 512);
    if (const std::optional<FileKind> kind = kindOfContent(head)) return *kind;
    if (isStandardInput(path)) return kindOfText(head);
    const std::string extension = extensionBeforeGzip(path);
    for (const KindTraits& traits : table())
        if (std::count(traits.extensions.begin(), traits.extensions.end(), extension) > 0) return traits.kind;
    if (extension == "bin")
        throw Failure(path +
                      ": is neither a particle nor a mesh BIN file; export it in one of these formats");
    throw Failure(
        path + ": is of no known kind; give a .bin, .obj, .stl, .ply or .vtk file, or another that is known");
}

bool holdsMesh(const std::string& path)
{
    const FileKind kind = kindOfFile(path);
    return mayHoldMesh(kind) && (!mayHoldParticles(kind) || holdsPolygons(path));
}

}  // namespace tavrix::formats
