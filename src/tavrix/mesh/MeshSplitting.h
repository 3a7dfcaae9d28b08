#pragma once

#include <tavrix/foundation/ArrayOfPtr.h>
#include <tavrix/mesh/Mesh.h>

namespace tavrix
{

/// The parts of a mesh, which share no position, each as a mesh of its own, in the order of their first
/// faces.
///
/// Positions and faces keep their order within a part, and with them go vertex normals and the arrays that
/// hosts gave the mesh, of positions or of faces. Every part has the mesh's name. Parts of fewer faces than
/// `leastFaces`, debris of scans, say, are left out; positions without a face belong to none. Indices must be
/// valid. O(positions + faces); no parts when the callback stopped it.
TX_GEOMETRY_API ArrayOfPtr<Mesh> splitParts(const Mesh& mesh, uint32 leastFaces = 1,
                                            CancelCallback callback = nullptr);

}  // namespace tavrix
