#pragma once

#include <string>

#include <tavrix/foundation/ArrayOfPtr.h>
#include <tavrix/mesh/Mesh.h>
#include <tavrix/mesh/MeshCavities.h>

#include "formats/MeshFile.h"

namespace tavrix::tool
{

/// What was left out of a mesh file, as in "2 faces are left out, 3 corners name nothing"; empty when
/// nothing was.
std::string leftOutText(const MeshReadingReport& report);

/// Prints on standard error what was left out, if there is such.
void tellLeftOut(const std::string& path, const formats::MeshFile& file);

/// formats::readMeshes; with `isStrict` throws Failure when something was left out.
formats::MeshFile readMeshes(const std::string& path, bool isStrict);

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
