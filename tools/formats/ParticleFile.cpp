#include "formats/ParticleFile.h"

#include <algorithm>
#include <optional>

#include <tavrix/particles/ParticleSystem_v3.h>
#include <tavrix/platform/FileBufferIn.h>

#include "formats/Bgeo.h"
#include "formats/Bytes.h"
#include "formats/Failure.h"
#include "formats/FileKind.h"
#include "formats/JsonPoints.h"
#include "formats/Npy.h"
#include "formats/Ply.h"
#include "formats/TextTable.h"
#include "formats/VtkLegacy.h"
#include "formats/VtkXml.h"
#include "formats/Xyz.h"

namespace tavrix::formats
{

namespace
{

// BIN

/// The particle count that the file's header states; nothing when the header is cut.
std::optional<uint32> statedCount(const TX_String& path)
{
    FileBufferIn file;
    uint32 count = 0;
    if (file.open(path, "rb") != FileStatus::ok) return std::nullopt;
    file.seek(276, 0);
    return file.readUInt(&count, 1) == 1 ? std::optional(count) : std::nullopt;
}

/// Throws the Failure that fewer records are there than stated.
void refuseFewer(const std::string& path, const std::optional<uint32>& stated, uint32 read)
{
    if (read == 0 && !stated) throw Failure(path + ": is cut off in its header; write or copy it again");
    if (read < stated.value_or(0))
        throw Failure(path + ": is cut off, it holds " + std::to_string(read) + " of " +
                      std::to_string(*stated) + " particles; write or copy it again");
}

PointData pointsOf(const ParticleSystem_v3& particles)
{
    PointData data{particles.getArrPosition(), {}};
    Array<float> ids(particles.getArrId().size());
    std::transform(particles.getArrId().begin(), particles.getArrId().end(), ids.begin(),
                   [](int64 id) { return static_cast<float>(id); });
    Array<Vector3F> velocities = particles.getArrVelocity();
    for (Vector3F& velocity : velocities)
        if (!isFinite(velocity)) velocity = {0, 0, 0};
    data.attributes.push_back({"velocity", std::move(velocities)});
    data.attributes.push_back({"id", std::move(ids)});
    return data;
}

PointData readBin(const std::string& path)
{
    const PlainFile file(path);
    ParticleSystem_v3 particles;
    const int read = particles.load_BIN(TX_String(file.path()));
    if (read < 0) throw Failure(path + ": cannot be read; look for what is wrong with the disk");
    refuseFewer(path, statedCount(TX_String(file.path())), static_cast<uint32>(read));
    return pointsOf(particles);
}

// All others

PointTable readTable(FileKind kind, const std::string& path)
{
    const Bytes bytes = readBytes(path);
    switch (kind)
    {
        case FileKind::Ply:
            return readPly(bytes, path, false).points;
        case FileKind::VtkLegacy:
            return readVtkLegacy(bytes, path, VtkWish::Points).points;
        case FileKind::Bgeo:
            return readBgeo(bytes, path);
        case FileKind::Xyz:
            return readXyz(bytes, path);
        case FileKind::Csv:
            return readTextTable(bytes, path);
        case FileKind::Npy:
            return readNpy(bytes, path);
        case FileKind::Json:
            return readJsonPoints(bytes, path);
        default:
            break;
    }
    throw Failure(path + ": is a mesh, not particles; give particles, a .bin or .vtk file for example");
}

PointData decodeNamed(PointTable table, const std::string& path)
{
    gatherVectors(table);
    if (table.positions.components.empty())
        throw Failure(path + ": does not say where its particles are; name their coordinates x, y and z");
    return decode(table);
}

PointData readPoints(FileKind kind, const std::string& path)
{
    if (kind == FileKind::ParticleBin) return readBin(path);
    if (kind != FileKind::VtkXml) return decodeNamed(readTable(kind, path), path);
    PointData all;
    for (VtkPiece& piece : readVtkXml(readBytes(path), path, VtkWish::Points))
        append(all, decodeNamed(std::move(piece.points), path));
    return all;
}

/// Keeps the values of those points that are kept.
template <class T>
void keep(Array<T>& values, const Array<uint32>& kept)
{
    for (uint32 n = 0; n < kept.size(); ++n) values[n] = values[kept[n]];
    values.resize(kept.size());
}

/// Takes the points without a finite position out of everything, and returns how many they were.
uint32 dropInfinite(PointData& data)
{
    if (std::all_of(data.positions.begin(), data.positions.end(), isFinite<float>)) return 0;
    const uint32 count = data.positions.size();
    Array<uint32> kept;
    for (uint32 n = 0; n < count; ++n)
        if (isFinite(data.positions[n])) kept.push_back(n);
    for (PointAttribute& attribute : data.attributes)
        std::visit([&](auto& values) { keep(values, kept); }, attribute.values);
    keep(data.positions, kept);
    return count - kept.size();
}

ParticleFile fileOf(PointData data)
{
    const uint32 leftOut = dropInfinite(data);
    Array<Vector3F> velocities =
        takeVectors(data.attributes, {"velocity", "velocities", "vel", "velo", "v", "u"});
    return {std::move(data.positions), std::move(velocities), std::move(data.attributes), leftOut};
}

}  // namespace

void failWithoutParticles(const std::string& path, uint64 leftOut)
{
    if (leftOut == 0) throw Failure(path + ": holds no particles; give a file that does");
    throw Failure(path + ": no particle has a finite position; look for what broke the simulation");
}

ParticleFile readParticleFile(const std::string& path)
{
    ParticleFile file = readParticlesIfAny(path);
    if (file.positions.empty()) failWithoutParticles(path, file.leftOut);
    return file;
}

ParticleFile readParticlesIfAny(const std::string& path)
{
    return fileOf(readPoints(kindOfFile(path), path));
}

std::optional<uint32> statedParticles(const std::string& path)
{
    if (isStandardInput(path) || kindOfFile(path) != FileKind::ParticleBin) return std::nullopt;
    const PlainFile file(path);
    if (file.path() != path) return std::nullopt;
    const auto stated = statedCount(TX_String(path));
    refuseFewer(path, stated, stated.value_or(0));
    return stated;
}

ParticleFile readParticleShare(const std::string& path, uint32 share, uint32 shares)
{
    const uint64 stated = statedCount(TX_String(path)).value_or(0);
    const auto begin = [&](uint64 n) { return static_cast<uint32>(stated * n / shares); };
    const uint32 first = begin(share), count = begin(share + uint64{1}) - first;
    ParticleSystem_v3 particles;
    const int read = particles.load_BIN(TX_String(path), first, count);
    if (read < 0) throw Failure(path + ": cannot be read; look for what is wrong with the disk");
    if (static_cast<uint32>(read) < count)
        refuseFewer(path, static_cast<uint32>(stated), first + static_cast<uint32>(read));
    return fileOf(pointsOf(particles));
}

}  // namespace tavrix::formats
