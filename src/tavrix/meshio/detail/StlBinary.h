#pragma once

#include <tavrix/foundation/CancelCallback.h>
#include <tavrix/mesh/Mesh.h>
#include <tavrix/platform/FileBufferIn.h>
#include <tavrix/platform/FileStatus.h>

namespace tavrix::detail
{

inline constexpr uint32 stlHeaderSize = 80;
inline constexpr uint32 stlFacetSize = 50;

/// Reads the facets of a binary STL file, which is open at its start, into an empty mesh, as many as there
/// are; named after the header's text. Failed when the system reports an error, or the facets are more than a
/// mesh can number.
FileStatus readStlBinary(FileBufferIn& file, Mesh& mesh);

/// Writes the mesh; 0 when the file is whole, else a MeshFileError.
int writeStlBinary(const TX_String& fileName, const Mesh& mesh, CancelCallback callback);

}  // namespace tavrix::detail
