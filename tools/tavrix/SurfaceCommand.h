#pragma once

#include <optional>
#include <string>

#include <tavrix/platform/Types.h>

namespace tavrix::tool
{

enum class FieldKind
{
    Distance,
    Metaball
};

/// What `tavrix surface` was asked for; what is absent has a default that fits the input.
struct SurfaceOptions
{
    std::string input;
    std::string output;
    std::optional<double> radius;
    std::optional<double> spacing;
    FieldKind field = FieldKind::Metaball;
    double influence = 60;
    std::optional<double> level;
    uint32 threads = 0;
    bool clean = true;
    bool quiet = false;
};

/// The level at which a field's surface is taken unless the options say otherwise. Metaballs: 1, which a lone
/// particle has at its radius. Distance: 0.05, 1.6 radii from a particle, so that neighbours two radii apart
/// leave no holes between them.
double defaultLevel(FieldKind kind);

/// Particles in, surface mesh out. Prints a summary on standard output unless quiet. Throws Failure.
void runSurface(const SurfaceOptions& options);

}  // namespace tavrix::tool
