#pragma once

#include <tavrix/foundation/detail/Polling.h>
#include <tavrix/meshproc/detail/CollapseMesh.h>
#include <tavrix/meshproc/detail/CornerItems.h>

namespace tavrix::detail
{

/// Finds the kind of every point: free where the faces around it are one closed fan, on a curve where two of
/// its edges are borders or seams, and fixed elsewhere, also where it is not finite. `vertices` tell seams;
/// no face is gone yet. False when stopped.
bool findPointKinds(CollapseMesh& mesh, const CornerItems& vertices, uint32 threadCount, Polling& polling);

}  // namespace tavrix::detail
