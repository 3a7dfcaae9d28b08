#pragma once

#include <span>

#include <tavrix/foundation/Array.h>
#include <tavrix/foundation/CancelCallback.h>
#include <tavrix/foundation/Tuple.h>
#include <tavrix/foundation/Vector3.h>
#include <tavrix/platform/Export.h>

namespace tavrix
{

/// Joins vertices that differ along every axis by less than a tolerance, or, where it is 0 or below, by
/// nothing; they become the centre of their box (see Vector3Simplifier). Each tolerance, of up to eight,
/// joins what the one before left over. Drops the faces whose corners came together and, on request, those no
/// higher than the last tolerance, and then the positions that no face names; the others keep their order.
///
/// faces: corners as indices of positions, which must be valid. Throws std::length_error for more than eight
/// tolerances. False, and nothing done, when the callback stopped it. O(n log n).
TX_GEOMETRY_API bool weldVertices(Array<Vector3D>& positions, Array<Index3>& faces,
                                  std::span<const double> tolerances, bool dropThinFaces = false,
                                  CancelCallback callback = nullptr);

}  // namespace tavrix
