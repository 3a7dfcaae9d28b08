#pragma once

#include <optional>
#include <string>

#include <tavrix/reconstruction/ReconstructionSettings.h>

#include "preview/View.h"

namespace tavrix::tool
{

/// What `tavrix surface` was asked for; what is absent has a default that fits the input. In a sequence the
/// names have a {} where the frame's number stands.
struct SurfaceOptions
{
    std::string input;
    std::string output;
    std::optional<uint64> first, last;
    bool force = false;

    ReconstructionSettings surface;
    bool asciiStl = false;

    std::string preview;  ///< empty: none
    bool previewParticles = false;
    PreviewOptions picture;

    bool quiet = false;
};

}  // namespace tavrix::tool
