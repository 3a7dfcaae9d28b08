#pragma once

#include <span>

#include <tavrix/mesh/Mesh.h>
#include <tavrix/meshio/detail/BinLayout.h>
#include <tavrix/platform/FileStatus.h>

namespace tavrix::detail
{

/// Writes the meshes as one BIN mesh file, positions and velocities times `scale`; ok when the file is whole.
FileStatus writeBin(const TX_String& fileName, std::span<const Mesh* const> meshes,
                    const BinChannels& channels, float scale);

}  // namespace tavrix::detail
