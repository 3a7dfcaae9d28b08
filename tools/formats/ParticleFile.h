#pragma once

#include <string>

#include <tavrix/foundation/Array.h>
#include <tavrix/foundation/Vector3.h>

namespace tavrix::formats
{

/// What a particle file holds of use: finite positions with their velocities (zero where they are not
/// finite), and the number of particles that had none.
struct ParticleFile
{
    Array<Vector3F> positions, velocities;
    uint32 leftOut;
};

/// Reads a particle BIN file. Throws Failure when it cannot be opened, is no such file, is cut off or holds
/// no particle with a finite position.
ParticleFile readParticleFile(const std::string& path);

}  // namespace tavrix::formats
