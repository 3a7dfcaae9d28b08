#include "ParticleFile.h"

#include <tavrix/particles/ParticleSystem_v3.h>
#include <tavrix/platform/FileBufferIn.h>

#include "Failure.h"

namespace tavrix::tool
{

namespace
{

/// The particle count that the file's header states; 0 when the header is cut.
uint32 statedCount(const TX_String& path)
{
    FileBufferIn file;
    uint32 count = 0;
    if (file.open(path, "rb") != FileStatus::ok) return 0;
    file.seek(276, 0);
    return file.readUInt(&count, 1) == 1 ? count : 0;
}

}  // namespace

Array<Vector3F> readParticlePositions(const std::string& path)
{
    const TX_String name(path);
    ParticleSystem_v3 particles;
    const int read = particles.load_BIN(name);
    if (read == -1) throw Failure(path + ": cannot be opened; does it exist, and may it be read?");
    if (read < 0) throw Failure(path + ": is no particle BIN file");
    const uint32 stated = statedCount(name);
    if (static_cast<uint32>(read) < stated)
        throw Failure(path + ": is cut off, it holds " + std::to_string(read) + " of " + std::to_string(stated) +
                      " particles; write or copy it again");
    if (read == 0) throw Failure(path + ": holds no particles");
    return particles.getArrPosition();
}

}  // namespace tavrix::tool
