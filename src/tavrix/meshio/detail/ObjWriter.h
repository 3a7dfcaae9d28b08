#pragma once

#include <span>

#include <tavrix/mesh/Mesh.h>
#include <tavrix/platform/FileStatus.h>

namespace tavrix::detail
{

/// Writes the meshes as groups of one OBJ file, texture coordinates only if asked for; null pointers are
/// skipped. Returns ok when the file is whole.
FileStatus writeObj(const TX_String& fileName, std::span<const Mesh* const> meshes, bool withTextures);

}  // namespace tavrix::detail
