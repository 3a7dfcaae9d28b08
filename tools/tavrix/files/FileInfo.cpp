#include "files/FileInfo.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <limits>

#include <tavrix/mesh/MeshRepair.h>
#include <tavrix/particles/ParticleSpacing.h>
#include <tavrix/particles/ParticleSystem_v3.h>
#include <tavrix/platform/FileBufferIn.h>

#include "files/MeshNotes.h"
#include "formats/Bytes.h"
#include "formats/FileKind.h"
#include "formats/FileName.h"
#include "formats/VertexStreams.h"
#include "run/Failure.h"

namespace tavrix::tool
{

namespace
{

struct ParticleHeader
{
    int16 version = 0;
    uint32 count = 0;
};

ParticleHeader readHeader(const std::string& path)
{
    ParticleHeader header;
    FileBufferIn file;
    file.open(TX_String(path));
    file.seek(254, 0);
    file.readShort(&header.version);
    file.seek(276, 0);
    if (file.readUInt(&header.count) != 1)
        throw Failure(path + ": is cut off in its header; write or copy it again");
    return header;
}

ParticleInfo inspectParticles(const std::string& path)
{
    const ParticleHeader header = readHeader(path);
    ParticleSystem_v3 particles;
    const int read = particles.load_BIN(TX_String(path));
    if (read < 0) throw Failure(path + ": cannot be read; look for what is wrong with the disk");
    const auto count = static_cast<uint32>(read);
    if (count < header.count)
        throw Failure(path + ": is cut off, it holds " + std::to_string(count) + " of " +
                      std::to_string(header.count) + " particles; write or copy it again");

    ParticleInfo info{header.version, count, 0, Box3D::empty(), 0, 0, {}};
    Array<Vector3F> finite;
    finite.reserve(count);
    for (const Vector3F& p : particles.getArrPosition())
    {
        if (!isFinite(p)) continue;
        finite.push_back(p);
        info.box.extend(convert<double>(p));
    }
    info.nonFinite = count - finite.size();
    info.slowest = std::numeric_limits<double>::infinity();
    for (const Vector3F& v : particles.getArrVelocity())
    {
        if (!isFinite(v)) continue;
        const double speed = length(convert<double>(v));
        info.slowest = std::min(info.slowest, speed);
        info.fastest = std::max(info.fastest, speed);
    }
    info.slowest = std::min(info.slowest, info.fastest);
    const double spacing = estimateSpacing(finite);
    if (spacing > 0) info.spacing = spacing;
    return info;
}

std::string formatName(formats::FileKind kind, const std::string& path)
{
    if (kind == formats::FileKind::MeshBin) return "BIN";
    if (kind != formats::FileKind::Stl) return formats::formatName(kind);
    return formats::isBinaryStl(formats::PlainFile(path).path()) ? "binary STL" : "ASCII STL";
}

bool hasChannel(const Mesh& mesh, const char* name) { return !mesh.findArray(TX_String(name)).isNone(); }

/// Widens the range of an attribute by the values of a mesh; one of that name and size is added when there is
/// none.
void widen(std::vector<AttributeRange>& ranges, const std::string& name, const float* values,
           std::size_t count, std::size_t components)
{
    constexpr double infinity = std::numeric_limits<double>::infinity();
    auto range =
        std::find_if(ranges.begin(), ranges.end(),
                     [&](const AttributeRange& r) { return r.name == name && r.min.size() == components; });
    if (range == ranges.end())
        range = ranges.insert(range, {name, std::vector<double>(components, infinity),
                                      std::vector<double>(components, -infinity)});
    for (std::size_t n = 0; n < count * components; ++n)
    {
        const double value = static_cast<double>(values[n]);
        if (!std::isfinite(value)) continue;
        range->min[n % components] = std::min(range->min[n % components], value);
        range->max[n % components] = std::max(range->max[n % components], value);
    }
}

std::vector<AttributeRange> rangesOf(const ArrayOfPtr<Mesh>& meshes)
{
    std::vector<AttributeRange> ranges;
    for (const Mesh* mesh : meshes)
        for (const formats::VertexAttribute& attribute : formats::vertexAttributes(*mesh))
            widen(ranges, attribute.name, attribute.data, mesh->getPosSize(), attribute.components);
    return ranges;
}

MeshInfo inspectMesh(formats::FileKind kind, const std::string& path, bool isStrict)
{
    const formats::MeshFile file = readMeshes(path, isStrict);
    MeshInfo info{};
    info.format = formatName(kind, path);
    info.report = file.report;
    info.attributes = rangesOf(file.meshes);
    for (const Mesh* mesh : file.meshes)
    {
        info.groups.push_back({mesh->getName().c_str(), mesh->getPosSize(), mesh->getFacesSize()});
        // Those of a BIN file are calculated, not held.
        info.hasNormals |= kind != formats::FileKind::MeshBin && !mesh->nor().empty();
        info.hasTexture |= hasChannel(*mesh, "UV_MAP_0");
        info.hasVelocity |= hasChannel(*mesh, "Velocity");
    }
    Mesh all = joinMeshes(file.meshes);
    info.vertices = all.getPosSize();
    info.faces = all.getFacesSize();
    info.box = Box3D::empty();
    for (const Vector3D& p : all.pos())
        if (isFinite(p)) info.box.extend(p);
    info.topology = computeTopology(all);
    Mesh joined = all;
    info.repeated = joinEqualPositions(joined);
    info.isJoined = info.repeated > 0 && !info.topology.isClosed();
    if (info.isJoined)
    {
        info.topology = computeTopology(joined);
        all = std::move(joined);
    }
    info.nonFinite = info.topology.nonFiniteCount;
    info.components = countPartsAndCavities(all);
    info.area = surfaceArea(all);
    info.volume = signedVolume(all);
    return info;
}

}  // namespace

FileInfo inspect(const std::string& path, bool isStrict)
{
    const formats::FileKind kind = formats::kindOfFile(path);
    std::error_code ignored;
    const auto bytes = std::filesystem::file_size(formats::pathOf(path), ignored);
    if (kind == formats::FileKind::ParticleBin) return {bytes, inspectParticles(path)};
    return {bytes, inspectMesh(kind, path, isStrict)};
}

}  // namespace tavrix::tool
