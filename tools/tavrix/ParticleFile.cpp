#include "ParticleFile.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <optional>

#include <tavrix/particles/ParticleSystem_v3.h>
#include <tavrix/platform/FileBufferIn.h>

#include "Failure.h"

namespace tavrix::tool
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

uint32 dropInfinite(Array<Vector3F>& positions)
{
    const auto infinite = [](const Vector3F& p)
    { return !(std::isfinite(p.x) && std::isfinite(p.y) && std::isfinite(p.z)); };
    const auto end = std::remove_if(positions.begin(), positions.end(), infinite);
    const auto dropped = static_cast<uint32>(positions.end() - end);
    positions.resize(positions.size() - dropped);
    return dropped;
}

}  // namespace

ParticleFile readParticleFile(const std::string& path)
{
    std::error_code ignored;
    if (std::filesystem::is_directory(std::u8string(path.begin(), path.end()), ignored))
        throw Failure(path + ": is a folder; name a file in it");
    ParticleSystem_v3 particles;
    const int read = particles.load_BIN(TX_String(path));
    if (read == -1) throw Failure(path + ": cannot be opened; does it exist, and may it be read?");
    if (read < 0) throw Failure(path + ": is no particle BIN file; export the particles in that format");
    refuseCut(path, static_cast<uint32>(read));

    ParticleFile file{particles.getArrPosition(), 0};
    file.leftOut = dropInfinite(file.positions);
    if (file.positions.size() == 0)
        throw Failure(path + ": no particle has a finite position; look for what broke the simulation");
    return file;
}

}  // namespace tavrix::tool
