#pragma once

#include <tavrix/mesh/Mesh.h>
#include <tavrix/meshio/detail/BinLayout.h>
#include <tavrix/platform/FileBufferIn.h>

namespace tavrix::detail
{

/// Reads an open BIN mesh file into an empty mesh. Whatever the result, the mesh holds what was read, and its
/// faces name positions that it has.
FileStatus readBin(FileBufferIn& file, const BinChannels& channels, Mesh& mesh);

}  // namespace tavrix::detail
