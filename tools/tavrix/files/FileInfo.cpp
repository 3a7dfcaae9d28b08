#include "files/FileInfo.h"

#include <algorithm>
#include <limits>

#include <tavrix/mesh/MeshRepair.h>
#include <tavrix/particles/ParticleSpacing.h>
#include <tavrix/platform/FileBufferIn.h>
#include <tavrix/platform/Hardware.h>
#include <tavrix/spatial/MeshCollider.h>
#include <tavrix/spatial/MeshThickness.h>

#include "files/MeshNotes.h"
#include "formats/Bytes.h"
#include "formats/FileKind.h"
#include "formats/ParticleFile.h"
#include "formats/VertexStreams.h"
#include "run/Failure.h"

namespace tavrix::tool
{

namespace
{

/// The version that a particle BIN file states.
int versionOf(const std::string& path)
{
    FileBufferIn file;
    int16 version = 0;
    const formats::PlainFile plain(path);
    file.open(TX_String(plain.path()));
    file.seek(254, 0);
    file.readShort(&version);
    return version;
}

std::optional<ParticleInfo::Speeds> speedsOf(const Array<Vector3F>& velocities, uint32 particles)
{
    if (velocities.empty() && particles > 0) return std::nullopt;
    ParticleInfo::Speeds speeds{std::numeric_limits<double>::infinity(), 0};
    for (const Vector3F& v : velocities)
    {
        const double speed = length(convert<double>(v));
        speeds.slowest = std::min(speeds.slowest, speed);
        speeds.fastest = std::max(speeds.fastest, speed);
    }
    speeds.slowest = std::min(speeds.slowest, speeds.fastest);
    return speeds;
}

Vector3D vectorOf(float value) { return {value, 0, 0}; }
Vector3D vectorOf(const Vector3F& value) { return convert<double>(value); }

AttributeRange rangeOf(const formats::PointAttribute& attribute)
{
    const auto measure = [](const auto& values)
    {
        Box3D box = Box3D::empty();
        for (const auto& value : values) box.extend(vectorOf(value));
        return box;
    };
    const Box3D box = std::visit(measure, attribute.values);
    const bool isVector = std::holds_alternative<Array<Vector3F>>(attribute.values);
    return {attribute.name, isVector ? 3u : 1u, box.min, box.max};
}

ParticleInfo inspectParticles(formats::FileKind kind, const std::string& path)
{
    const formats::ParticleFile file = formats::readParticlesIfAny(path);
    ParticleInfo info{};
    info.format = formats::formatName(kind);
    if (kind == formats::FileKind::ParticleBin) info.version = versionOf(path);
    info.count = file.positions.size() + file.leftOut;
    info.nonFinite = file.leftOut;
    info.box = boxAround(file.positions);
    info.speeds = speedsOf(file.velocities, file.positions.size());
    const double spacing = estimateSpacing(file.positions);
    if (spacing > 0) info.spacing = spacing;
    for (const formats::PointAttribute& attribute : file.attributes)
        if (!file.positions.empty()) info.attributes.push_back(rangeOf(attribute));
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
void widen(std::vector<AttributeRange>& ranges, const formats::VertexAttribute& attribute, uint32 count)
{
    auto range = std::find_if(ranges.begin(), ranges.end(),
                              [&](const AttributeRange& r)
                              { return r.name == attribute.name && r.components == attribute.components; });
    const Box3D none = Box3D::empty();
    if (range == ranges.end())
        range = ranges.insert(range, {attribute.name, attribute.components, none.min, none.max});
    Box3D box{range->min, range->max};
    for (const float* value = attribute.data;
         value != attribute.data + std::size_t{count} * attribute.components; value += attribute.components)
    {
        const Vector3D v =
            attribute.components == 1 ? vectorOf(*value) : Vector3D{value[0], value[1], value[2]};
        if (isFinite(v)) box.extend(v);
    }
    range->min = box.min;
    range->max = box.max;
}

std::vector<AttributeRange> rangesOf(const ArrayOfPtr<Mesh>& meshes)
{
    std::vector<AttributeRange> ranges;
    for (const Mesh* mesh : meshes)
        for (const formats::VertexAttribute& attribute : formats::vertexAttributes(*mesh))
            widen(ranges, attribute, mesh->getPosSize());
    return ranges;
}

std::optional<MeshInfo::Thickness> thicknessOf(const Mesh& mesh)
{
    const uint32 threads = Hardware::getThreadCount();
    MeshCollider collider;
    collider.create(mesh, threads);
    Array<double> thicknesses;
    measureThickness(collider, thicknesses, threads);
    const ThicknessSummary summary = summarizeThickness(collider, thicknesses);
    if (summary.thinnest == noIndex) return std::nullopt;
    const Index3& face = mesh.trindexPos()[summary.thinnest];
    const Vector3D middle = (mesh.pos()[face.a] + mesh.pos()[face.b] + mesh.pos()[face.c]) * (1.0 / 3);
    return MeshInfo::Thickness{summary.least, summary.greatest, summary.median, middle};
}

MeshInfo inspectMesh(formats::FileKind kind, const std::string& path, bool isStrict, bool measuresThickness)
{
    Progress silent(1, true);  // the report tells it all
    const formats::MeshFile file = readMeshes(path, isStrict, silent);
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
    if (measuresThickness && info.topology.isClosed()) info.thickness = thicknessOf(all);
    return info;
}

}  // namespace

FileInfo inspect(const std::string& path, bool isStrict, bool measuresThickness)
{
    const formats::FileKind kind = formats::kindOfFile(path);
    const std::size_t bytes = formats::sizeOfFile(path);
    if (formats::holdsMesh(path)) return {bytes, inspectMesh(kind, path, isStrict, measuresThickness)};
    return {bytes, inspectParticles(kind, path)};
}

}  // namespace tavrix::tool
