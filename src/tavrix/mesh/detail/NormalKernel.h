#pragma once

#include <tavrix/foundation/detail/Kernel.h>
#include <tavrix/platform/Types.h>

namespace tavrix::detail
{

/// A run of faces as a structure of arrays, small enough for the first-level cache, on which the arithmetic
/// of the normals vectorises. `corner[c][axis][i]` goes in for face i; everything else comes out.
struct FaceBatch
{
    static constexpr uint32 capacity = 128;

    double corner[3][3][capacity];
    double normal[3][capacity];  ///< unit normal, (1, 0, 0) for a face without area
    double area[capacity];
    double angle[3][capacity];           ///< interior angles, scaled to the sum pi
    float contribution[3][3][capacity];  ///< [corner][axis]: unit normal times angle
};

/// Faces of an area up to this do not take part in vertex normals.
inline constexpr double smallestArea = 2.4308653429145085e-63;

/// computeFaceNormals fills `normal` and `area` of the first `count` faces. computeCornerContributions, after
/// it, fills `angle` and `contribution`; what it leaves for faces of no more than the smallest area is
/// meaningless.
TX_DECLARE_KERNEL(void computeFaceNormals(FaceBatch& block, uint32 count);
                  void computeCornerContributions(FaceBatch& block, uint32 count);)

}  // namespace tavrix::detail
