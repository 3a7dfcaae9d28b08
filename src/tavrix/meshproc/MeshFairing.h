#pragma once

#include <tavrix/foundation/Array.h>
#include <tavrix/foundation/CancelCallback.h>
#include <tavrix/foundation/Tuple.h>
#include <tavrix/foundation/Vector3.h>
#include <tavrix/meshproc/FairingSettings.h>
#include <tavrix/platform/Export.h>

namespace tavrix
{

/// Smooths the closed parts of a mesh and keeps the volume of each. A low pass of the umbrella operator with
/// the response 1 - (1 - (1 - m / 2)^passes)^2, m its eigenvalue (Taubin, A Signal Processing Approach to
/// Fair Surface Design, SIGGRAPH 1995; the square is Tukey's twicing, which keeps what bends gently), as a
/// Chebyshev series: passes cost as their square root. Parts that are small or thin get fewer passes, by
/// volume over area, so that drops and sheets stay. Then each part moves along its normals until it has its
/// volume again.
///
/// Vertices at borders and where several sheets meet stay. Indices must be valid; coordinates that are not
/// finite spoil their part. Linear. False when the callback stopped the work; then nothing was changed.
TX_GEOMETRY_API bool fairPositions(Array<Vector3D>& positions, const Array<Index3>& faces,
                                   const FairingSettings& settings = {}, CancelCallback callback = nullptr);

}  // namespace tavrix
