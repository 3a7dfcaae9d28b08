#pragma once

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

}  // namespace tavrix::formats
