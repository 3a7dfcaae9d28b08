#pragma once

#include <tavrix/foundation/Array.h>
#include <tavrix/foundation/detail/Polling.h>
#include <tavrix/foundation/Tuple.h>
#include <tavrix/foundation/Vector3.h>

namespace tavrix::detail
{

/// The half-edge on the other side of every half-edge 3 * face + edge, for walks over a surface that never
/// have to end where it is closed: of an edge with an even number of faces each has one, of an odd number all
/// but one. Around an edge of more than two faces, those are paired that have solid between them. noIndex at
/// borders, and on faces that name a position twice. Linear; means nothing once the polling has stopped.
Array<uint32> halfEdgeTwins(const Array<Vector3D>& positions, const Array<Index3>& faces, Polling& polling);

}  // namespace tavrix::detail
