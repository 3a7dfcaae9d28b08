#pragma once

#include <optional>
#include <string>

#include <tavrix/platform/Types.h>

#include "preview/View.h"

namespace tavrix::tool
{

enum class FieldKind
{
    Distance,
    Metaball,
    Anisotropic
};

/// What `tavrix surface` was asked for; what is absent has a default that fits the input. In a sequence the
/// names have a {} where the frame's number stands.
struct SurfaceOptions
{
    std::string input;
    std::string output;
    std::optional<uint64> first, last;
    bool force = false;

    std::optional<double> radius;
    uint32 minNeighbours = 0;

    FieldKind field = FieldKind::Metaball;
    std::optional<double> influence;
    std::optional<double> level;
    std::optional<double> spacing;

    uint32 smoothing = 0;
    std::optional<double> simplify;
    bool clean = true;
    bool normals = true;
    bool asciiStl = false;

    std::string preview;  ///< empty: none
    bool previewParticles = false;
    PreviewOptions picture;

    uint32 threads = 0;
    bool quiet = false;
};

}  // namespace tavrix::tool
