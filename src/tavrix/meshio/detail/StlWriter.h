#pragma once

#include <tavrix/foundation/CancelCallback.h>
#include <tavrix/mesh/Mesh.h>

namespace tavrix::detail
{

/// Write the mesh as ASCII or binary STL; 0 when the file is whole, else a MeshFileError.
int writeStlText(const TX_String& fileName, const Mesh& mesh, CancelCallback callback);
int writeStlBinary(const TX_String& fileName, const Mesh& mesh, CancelCallback callback);

}  // namespace tavrix::detail
