#pragma once

#include <tavrix/foundation/Array.h>
#include <tavrix/foundation/Optional.h>
#include <tavrix/foundation/RankGroup.h>
#include <tavrix/foundation/Vector3.h>
#include <tavrix/platform/Export.h>

namespace tavrix
{

/// The distance between neighbouring particles if they stood on a cubic lattice.
///
/// The median distance d to the fourth nearest particle gives the density, 4.5 particles in a ball of radius
/// d, and the density the spacing. Steady under disorder, within some ten per cent in sheets one particle
/// thick. Taken over up to two thousand particles picked evenly; particles at one place do not count, nor
/// those without a finite position. 0 when no two particles lie apart. O(n log n).
TX_GEOMETRY_API double estimateSpacing(const Array<Vector3F>& positions);
/// The same of particles of which each rank has a share, in any order; every rank gets the answer that one
/// process would have. None has more of them than before: they find the sample among all by counting.
TX_GEOMETRY_API double estimateSpacing(const Array<Vector3F>& positions, RankGroup& ranks);

/// The radius of the particles when none is given: half their estimated spacing. None where that is 0 in
/// single precision.
/// @{
TX_GEOMETRY_API Optional<double> estimateRadius(const Array<Vector3F>& positions);
TX_GEOMETRY_API Optional<double> estimateRadius(const Array<Vector3F>& positions, RankGroup& ranks);
/// @}

}  // namespace tavrix
