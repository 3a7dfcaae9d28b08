#pragma once

#include <tavrix/platform/Types.h>

namespace tavrix::detail
{

/// A symmetric 3 x 3 matrix: xx, xy, xz, yy, yz, zz.
using SymmetricMatrix = float[6];

/// Sorted points, and runs of them, begin and end by turns. Eight numbers behind the end of each run are
/// readable.
struct PointRuns
{
    const float* coordinates[3];
    const uint32* bounds;
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

/// The moments of the points around a place. Sums run in eight interleaved parts, which are added at the end:
/// all instruction sets give the same bytes, and so does every order of the calls.
NeighbourMoments sumNeighbours(const PointRuns& runs, const float (&place)[3], float reciprocalReach);

/// The mean offset of the points d with q = d^T F d below 1 from a place, weighted by 1 - q^(3/2); summed
/// likewise.
MeanOffset meanOfNeighbours(const PointRuns& runs, const float (&place)[3], const SymmetricMatrix& form);

}  // namespace tavrix::detail
