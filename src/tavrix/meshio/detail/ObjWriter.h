#pragma once

#include <span>

#include <tavrix/foundation/CancelCallback.h>
#include <tavrix/mesh/Mesh.h>
#include <tavrix/meshio/ObjNumbers.h>
#include <tavrix/platform/TX_String.h>

namespace tavrix::detail
{

/// Writes the meshes as groups of one OBJ file, texture coordinates only if asked for; null pointers are
/// skipped. Returns 0 when the file is whole, else a MeshFileError.
int writeObj(const TX_String& fileName, std::span<const Mesh* const> meshes, bool withTextures,
             const ObjNumbers& numbers, CancelCallback callback);

}  // namespace tavrix::detail
