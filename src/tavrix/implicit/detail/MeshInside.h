#pragma once

#include <tavrix/fields/GridDescription3.h>
#include <tavrix/foundation/detail/Polling.h>
#include <tavrix/mesh/Mesh.h>

namespace tavrix::detail
{

/// Negates the samples of the nodes inside the mesh; samples[monoindex] comes in as the distance from the
/// nearest face, or a band below it.
///
/// The winding number decides what is inside: the mean over six axis-parallel rays, above 1/2. So overlapping
/// parts stay inside, cavities do not, and a hole that one or two rays pass through changes nothing. In
/// meshes with holes, neighbouring nodes that no face separates are averaged. A mesh that is inside out as a
/// whole (its volume negative) has its solid outside. A closed mesh gets windings that are exact on every
/// grid, also one whose nodes lie on its edges; a node on a face may go either way. Faces with corners that
/// are not finite or do not exist do not count. Instantiated for float and double; the result does not depend
/// on the thread count. False, and the samples unspecified, when the polling stopped the work.
template <class T>
bool negateInside(const Mesh& mesh, const GridDescription3<double>& grid, uint32 threadCount,
                  Polling& polling, T* samples);

}  // namespace tavrix::detail
