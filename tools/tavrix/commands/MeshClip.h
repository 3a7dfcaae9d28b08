#pragma once

#include <optional>
#include <string>

#include <tavrix/foundation/ArrayOfPtr.h>
#include <tavrix/foundation/Box3.h>
#include <tavrix/mesh/Mesh.h>

#include "run/Progress.h"

namespace CLI
{
class App;
}

namespace tavrix::tool
{

/// The box that meshes are cut by, and whether the cut is closed.
struct MeshClip
{
    std::optional<Box3D> box;
    bool isClosed = false;
};

/// --clip and --clip-closed, under the heading "Output".
void addClip(CLI::App& command, MeshClip& clip);

/// Rejects --clip-closed without --clip.
void checkClip(const CLI::App& command, const MeshClip& clip);

/// Leaves what lies in the box, if there is one, as a stage of its own. Throws Failure, which names the file,
/// when nothing does.
void clipMeshes(ArrayOfPtr<Mesh>& meshes, const MeshClip& clip, const std::string& file, Progress& progress);

}  // namespace tavrix::tool
