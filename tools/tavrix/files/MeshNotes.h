#pragma once

#include <string>

#include <tavrix/foundation/ArrayOfPtr.h>
#include <tavrix/mesh/Mesh.h>
#include <tavrix/mesh/MeshCavities.h>

#include "formats/MeshFile.h"
#include "run/Progress.h"

namespace tavrix::tool
{

/// formats::readMeshes, which notes what was left out; with `isStrict` it throws Failure instead.
formats::MeshFile readMeshes(const std::string& path, bool isStrict, Progress& progress,
                             uint32 threadCount = 1);

struct MeshCounts
{
    uint32 vertices, faces;
};

/// The sums over all meshes.
MeshCounts countsOf(const ArrayOfPtr<Mesh>& meshes);

/// "3 parts, 2 cavities"; cavities only where there are some.
std::string partText(const PartCounts& counts);

/// Prints how much went into a file.
void tellWritten(const std::string& path, const ArrayOfPtr<Mesh>& meshes);

}  // namespace tavrix::tool
