#include "formats/ParticleFile.h"

#include <filesystem>
#include <optional>

#include <tavrix/particles/ParticleSystem_v3.h>
#include <tavrix/platform/FileBufferIn.h>

#include "formats/Failure.h"
#include "formats/FileName.h"

namespace tavrix::formats
{

namespace
{

/// The particle count that the file's header states; nothing when the header is cut.
std::optional<uint32> statedCount(const TX_String& path)
{
    FileBufferIn file;
    uint32 count = 0;
    if (file.open(path, "rb") != FileStatus::ok) return std::nullopt;
    file.seek(276, 0);
    return file.readUInt(&count, 1) == 1 ? std::optional(count) : std::nullopt;
}

void refuseCut(const std::string& path, uint32 read)
{
    const std::optional<uint32> stated = statedCount(TX_String(path));
    if (read == 0 && !stated) throw Failure(path + ": is cut off in its header; write or copy it again");
    if (read < stated.value_or(0))
        throw Failure(path + ": is cut off, it holds " + std::to_string(read) + " of " +
                      std::to_string(*stated) + " particles; write or copy it again");
    if (read == 0) throw Failure(path + ": holds no particles; give a file that does");
}

/// The particles with a finite position.
ParticleFile usable(const ParticleSystem_v3& particles)
{
    const Array<Vector3F>& positions = particles.getArrPosition();
    ParticleFile file{{}, {}, 0};
    file.positions.reserve(positions.size());
    file.velocities.reserve(positions.size());
    for (uint32 n = 0; n < positions.size(); ++n)
    {
        if (!isFinite(positions[n])) continue;
        const Vector3F& velocity = particles.getArrVelocity()[n];
        file.positions.push_back(positions[n]);
        file.velocities.push_back(isFinite(velocity) ? velocity : Vector3F{0, 0, 0});
    }
    file.leftOut = positions.size() - file.positions.size();
    return file;
}

}  // namespace

ParticleFile readParticleFile(const std::string& path)
{
    std::error_code ignored;
    if (std::filesystem::is_directory(pathOf(path), ignored))
        throw Failure(path + ": is a folder; name a file in it");
    ParticleSystem_v3 particles;
    const int read = particles.load_BIN(TX_String(path));
    if (read == -1) throw Failure(path + ": cannot be opened; does it exist, and may it be read?");
    if (read < 0) throw Failure(path + ": is no particle BIN file; export the particles in that format");
    refuseCut(path, static_cast<uint32>(read));

    ParticleFile file = usable(particles);
    if (file.positions.empty())
        throw Failure(path + ": no particle has a finite position; look for what broke the simulation");
    return file;
}

}  // namespace tavrix::formats
