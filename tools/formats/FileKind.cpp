#include "formats/FileKind.h"

#include <algorithm>
#include <filesystem>
#include <optional>
#include <string_view>

#include <tavrix/platform/FileBufferIn.h>

#include "formats/Failure.h"
#include "formats/FileName.h"

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

const std::vector<KindTraits>& table()
{
    static const std::vector<KindTraits> kinds{
        {FileKind::ParticleBin, "particle BIN", true, false, {}},
        {FileKind::MeshBin, "mesh BIN", false, true, {}},
        {FileKind::Obj, "OBJ", false, true, {"obj"}},
        {FileKind::Stl, "STL", false, true, {"stl"}},
        {FileKind::Ase, "ASE", false, true, {"ase"}},
    };
    return kinds;
}

const KindTraits& traitsOf(FileKind kind)
{
    return *std::find_if(table().begin(), table().end(),
                         [&](const KindTraits& traits) { return traits.kind == kind; });
}

/// The first bytes of a file, as many as there are.
std::string headOf(const std::string& path)
{
    std::error_code ignored;
    if (std::filesystem::is_directory(pathOf(path), ignored))
        throw Failure(path + ": is a folder; name a file in it");
    FileBufferIn file;
    if (file.open(TX_String(path), "rb", 512) != FileStatus::ok)
        throw Failure(path + ": cannot be opened; does it exist, and may it be read?");
    std::string bytes(512, '\0');
    bytes.resize(file.readBuffer(bytes.data(), bytes.size()));
    return bytes;
}

std::optional<FileKind> kindOfContent(std::string_view head)
{
    using namespace std::string_view_literals;
    if (head.starts_with("\xDA\xBA\xFA\0"sv)) return FileKind::ParticleBin;
    if (head.starts_with("\xDA\xDA\xDA\xDA"sv)) return FileKind::MeshBin;
    return std::nullopt;
}

std::vector<std::string> extensionsOf(bool KindTraits::*holds)
{
    std::vector<std::string> all{"bin"};
    for (const KindTraits& traits : table())
        if (traits.*holds) all.insert(all.end(), traits.extensions.begin(), traits.extensions.end());
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
    static const std::vector<std::string> extensions{"obj", "stl", "bin"};
    return extensions;
}

FileKind kindOfFile(const std::string& path)
{
    if (const std::optional<FileKind> kind = kindOfContent(headOf(path))) return *kind;
    const std::string extension = extensionOf(path);
    for (const KindTraits& traits : table())
        if (std::count(traits.extensions.begin(), traits.extensions.end(), extension) > 0) return traits.kind;
    if (extension == "bin")
        throw Failure(path +
                      ": is neither a particle nor a mesh BIN file; export it in one of these formats");
    throw Failure(path + ": is of no known kind; give a .bin, .obj, .stl or .ase file");
}

}  // namespace tavrix::formats
