#pragma once

#include <tavrix/foundation/detail/Kernel.h>
#include <tavrix/platform/Types.h>

namespace tavrix::detail
{

/// A symmetric 3 x 3 matrix: xx, xy, xz, yy, yz, zz.
using SymmetricMatrix = float[6];

/// Points, one array an axis; their number is a multiple of eight. Coordinates are finite.
struct Points
{
    const float* coordinates[3];
    uint32 count;
};

/// Sums over the points within the reach R of a place, by offsets d in units of R, weighted w = 1 - |d|^3.
struct NeighbourMoments
{
    float weight;
    float first[3];          ///< of w d
    SymmetricMatrix second;  ///< of w d d^T
};

/// A weighted mean of offsets.
struct MeanOffset
{
    float x, y, z;
};

/// sumNeighbours computes the moments of the points around a place; meanOfNeighbours the mean offset of the
/// points d with q = d^T F d below 1 from a place, weighted by 1 - q^(3/2).
TX_DECLARE_KERNEL(NeighbourMoments sumNeighbours(const Points& points, const float (&place)[3],
                                                 float reciprocalReach);
                  MeanOffset meanOfNeighbours(const Points& points, const float (&place)[3],
                                              const SymmetricMatrix& form);)

}  // namespace tavrix::detail
