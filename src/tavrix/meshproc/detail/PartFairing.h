#pragma once

#include <tavrix/foundation/CancelCallback.h>
#include <tavrix/foundation/Tuple.h>
#include <tavrix/foundation/Vector3.h>
#include <tavrix/mesh/detail/MeshBorder.h>
#include <tavrix/meshproc/FairingSettings.h>

namespace tavrix::detail
{

/// fairPositions of a part of a mesh that many ranks have, with the faces around its own vertices: these get
/// the positions that they have in the whole mesh, to the bit, and copies those of their owners. Collective;
/// false on all ranks when the callback of one stopped it.
bool fairPart(Array<Vector3D>& positions, const Array<Index3>& faces, const MeshBorder& border,
              const FairingSettings& settings, CancelCallback callback);

}  // namespace tavrix::detail
