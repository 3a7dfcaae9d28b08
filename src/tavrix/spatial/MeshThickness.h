#pragma once

#include <tavrix/foundation/Array.h>
#include <tavrix/foundation/CancelCallback.h>
#include <tavrix/platform/Export.h>

namespace tavrix
{

class MeshCollider;

/// How thick the solid is under each face: from its middle straight through, against the normal, to the
/// nearest face that is hit, as walls of parts to be printed or moulded are measured. One number a face, in
/// units of space; infinite where nothing is hit, as in an open mesh, and under faces without
/// area, or whose height is a billionth of their length.
///
/// The faces look outwards, or, where the mesh's volume is negative, inwards. Faces within the solid, where
/// parts overlap, count as its other side. Some microseconds a face on one thread; the numbers are the same
/// for every thread count. False when the callback stopped it; the array is empty then.
TX_GEOMETRY_API bool measureThickness(const MeshCollider& mesh, Array<double>& thicknesses,
                                      uint32 threadCount = 1, CancelCallback callback = nullptr);

/// What the thicknesses of a mesh have in common.
struct ThicknessSummary
{
    /// Of all faces that have a thickness.
    /// @{
    double least, greatest;
    /// @}
    double median;    ///< half of their area is thinner
    uint32 thinnest;  ///< the face of the least; noIndex without any
};

/// Sums up what measureThickness found; zeros where no face has a thickness. O(faces log faces).
TX_GEOMETRY_API ThicknessSummary summarizeThickness(const MeshCollider& mesh,
                                                    const Array<double>& thicknesses);

}  // namespace tavrix
