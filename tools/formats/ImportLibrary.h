#pragma once

#include <string>
#include <vector>

#include "formats/Surface.h"

namespace tavrix::formats
{

/// The library that reads further mesh formats, with its version, as in "assimp 5.2.5"; empty in builds
/// without one.
std::string importLibrary();

/// The extensions, in small letters and without the dot, of what it reads; none in builds without one.
const std::vector<std::string>& importExtensions();

/// Reads a file with it: every mesh of its scene, placed, with normals, texture coordinates and colours as
/// other readers give them. Throws Failure when it cannot, with its reason.
void importMeshes(const std::string& path, ArrayOfPtr<Mesh>& meshes, MeshReadingReport& report);

}  // namespace tavrix::formats
