#pragma once

#include <string>

#include <tavrix/foundation/Array.h>
#include <tavrix/foundation/Vector3.h>

namespace tavrix::tool
{

/// The positions in a particle BIN file. Throws Failure when the file cannot be opened, is no such file, is cut off or
/// holds no particles.
Array<Vector3F> readParticlePositions(const std::string& path);

}  // namespace tavrix::tool
