#pragma once

#include <tavrix/fields/GridDescription3.h>
#include <tavrix/foundation/detail/Polling.h>
#include <tavrix/mesh/Mesh.h>

namespace tavrix::detail
{

/// Gives every node of the grid the distance to the nearest face, or the band where that is smaller:
/// samples[monoindex], all of them written. Each is computed from the face itself, in the precision of T and
/// relative to the face, so it is good to some 1e-6 of band and face size for float. Faces without area count
/// as the segment or point that they are; faces with corners that are not finite or do not exist do not
/// count. Instantiated for float and double. The bytes do not depend on the thread count. False, and the
/// samples unspecified, when the polling stopped the work.
template <class T>
bool sampleDistance(const Mesh& mesh, const GridDescription3<double>& grid, T band, uint32 threadCount,
                    Polling& polling, T* samples);

}  // namespace tavrix::detail
