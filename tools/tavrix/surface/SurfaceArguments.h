#pragma once

#include "surface/SurfaceOptions.h"

namespace CLI
{
class App;
}

namespace tavrix::tool
{

/// The options that say what surface there is to be: of the particles, the field and what is done to the
/// mesh.
void addSurfaceSettings(CLI::App& command, SurfaceOptions& options);

}  // namespace tavrix::tool
