#pragma once

#include <optional>
#include <string>
#include <vector>

#include <tavrix/foundation/Array.h>
#include <tavrix/foundation/Vector3.h>

#include "formats/PointAttribute.h"

namespace tavrix::formats
{

/// What a particle file holds of use, of the particles with a finite position: positions, velocities, what
/// else the file names, and how many particles were left out for want of such a position.
struct ParticleFile
{
    Array<Vector3F> positions;
    Array<Vector3F> velocities;  ///< none when the file holds none
    std::vector<PointAttribute> attributes;
    uint32 leftOut;
};

/// Reads a particle file of any format that may hold particles, compressed by gzip or not; "-" is standard
/// input. A vector that is called velocity, vel, v or U becomes the velocities; BIN files have their ids as
/// the attribute id. Throws Failure when the file cannot be opened, is of another kind, is cut off or
/// damaged, or holds no particle with a finite position.
ParticleFile readParticleFile(const std::string& path);

/// The same of a file that may hold no particles, or none with a finite position.
ParticleFile readParticlesIfAny(const std::string& path);

/// How many particles the header of a BIN file states that is not compressed, whose records can be read from
/// any place; nothing of other files. Throws Failure as readParticleFile does.
std::optional<uint32> statedParticles(const std::string& path);
/// Reads one of so many shares of such a file, a run of its records, which may hold no particles; shares in
/// their order are the whole. Throws Failure when the share is cut off.
ParticleFile readParticleShare(const std::string& path, uint32 share, uint32 shares);

/// Throws the Failure that a file without particles of use is, which has so many without a finite position.
[[noreturn]] void failWithoutParticles(const std::string& path, uint64 leftOut);

}  // namespace tavrix::formats
