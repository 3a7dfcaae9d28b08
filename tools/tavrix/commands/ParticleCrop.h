#pragma once

#include <optional>
#include <string>

#include <tavrix/foundation/Box3.h>

#include "formats/ParticleFile.h"

namespace CLI
{
class App;
}

namespace tavrix::tool
{

/// --crop, under the heading "Particles".
void addCrop(CLI::App& command, std::optional<Box3D>& box);

/// Keeps the particles in the box, its border included, with all that they have. Throws Failure, which names
/// the file, when none is.
void cropParticles(formats::ParticleFile& particles, const Box3D& box, const std::string& file);

}  // namespace tavrix::tool
