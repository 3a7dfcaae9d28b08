#pragma once

#include <optional>
#include <string>
#include <vector>

#include <tavrix/reconstruction/ReconstructionSettings.h>

#include "commands/MeshClip.h"
#include "commands/MeshFinish.h"
#include "preview/View.h"
#include "sequence/FrameByFrame.h"

namespace tavrix::tool
{

/// What `tavrix surface` was asked for; what is absent has a default that fits the input. In a sequence the
/// names have a {} where the frame's number stands.
struct SurfaceOptions : RunOptions
{
    std::string input;
    std::string output;

    std::vector<std::string> attributes;  ///< to carry to the mesh besides velocities; "all": all of them
    std::optional<Box3D> crop;            ///< of the particles
    ReconstructionSettings surface;
    MeshClip clip;
    MeshFinish finish;

    std::string preview;  ///< empty: none
    bool previewParticles = false;
    PreviewOptions picture;
    std::optional<Box3D> viewBox;  ///< what the camera looks at; absent, the particles

    std::vector<std::string*> inputs() { return {&input}; }
    std::vector<std::string*> outputs() { return {&output, &preview}; }
};

}  // namespace tavrix::tool
