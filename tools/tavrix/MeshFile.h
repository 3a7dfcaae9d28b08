#pragma once

#include <string>

#include <tavrix/foundation/ArrayOfPtr.h>
#include <tavrix/mesh/Mesh.h>

namespace tavrix::tool
{

enum class FileKind
{
    Particles,
    ObjMesh,
};

/// What kind of file this is: what its first bytes say, else its extension, in capitals or not. Throws
/// Failure when it cannot be opened or is of no known kind.
FileKind kindOfFile(const std::string& path);

/// The meshes of a mesh file. Throws Failure when it cannot be read or holds no face.
ArrayOfPtr<Mesh> readMeshes(const std::string& path);

}  // namespace tavrix::tool
