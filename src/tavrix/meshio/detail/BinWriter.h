#pragma once

#include <span>

#include <tavrix/foundation/CancelCallback.h>
#include <tavrix/mesh/Mesh.h>
#include <tavrix/meshio/detail/BinLayout.h>
#include <tavrix/platform/TX_String.h>

namespace tavrix::detail
{

/// Writes the meshes as one BIN mesh file, positions and velocities times `scale`; 0 when the file is whole,
/// else a MeshFileError.
int writeBin(const TX_String& fileName, std::span<const Mesh* const> meshes, const BinChannels& channels,
             float scale, CancelCallback callback);

}  // namespace tavrix::detail
