#pragma once

#include <string>

#include "formats/Surface.h"

namespace tavrix::formats
{

/// Reads the meshes of a glTF 2.0 file (.glb, .gltf): one for each node of its scene that has one, placed by
/// the transforms of the nodes above it, its primitives joined; of a file without nodes, every mesh. Taken
/// are triangles, strips and fans, POSITION, NORMAL, TEXCOORD_0 (as "UV_MAP_0", upwards), the colours of
/// COLOR_0 (as "color") and attributes of a name with an underscore before it, numbers and vectors; points,
/// lines, skins and morph targets are passed over. Throws Failure as GltfFile does, and when the file repeats
/// its meshes until they fill the memory.
void readGltf(const std::string& path, ArrayOfPtr<Mesh>& meshes, MeshReadingReport& report);

}  // namespace tavrix::formats
