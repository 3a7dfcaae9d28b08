#pragma once

#include <tavrix/foundation/detail/BitsOf.h>
#include <tavrix/foundation/detail/Kernel.h>

namespace tavrix::detail
{

/// The change that a sweep reports when no sample changed.
inline constexpr double noChange = -1e6;

/// Rows of nodes that a sweep visits side by side.
inline constexpr uint32 sweptRows = 8;

/// A word with a bit for each of these rows, as wide as a sample.
template <class T>
using SweepMark = BitsOf<T>;

/// Rows of a plane x = const of samples, to be visited once in one of the four diagonal orders of its nodes.
template <class T>
struct EikonalPlane
{
    T* samples;
    const T* upwindX;  ///< the neighbouring plane to look at, or the plane itself at the end of the grid
    uint32 sizeY, sizeZ;
    uint32 firstRow, endRow;  ///< counted along the way; the first is a multiple of sweptRows
    bool upY, upZ;            ///< whether y and z grow along the way
    double h;
    T bandLimit;
};

/// sweepPlane lowers the samples of the rows to the upwind solutions of |grad u| = 1 (Zhao, Mathematics of
/// Computation 74, 2005). The upwind neighbours a <= b <= c of a sample, one an axis, are those that were
/// visited before it; beyond the grid, the sample itself. The solution is a + h, from two neighbours where b
/// is not above it, from three where c is not, in double precision, and is stored where it is below the
/// sample. A sample whose neighbours all exceed the band limit stays. Returns the largest change, or
/// noChange.
///
/// scratch: room for sizeZ + sweptRows marks.
TX_DECLARE_KERNEL(template <class T> T sweepPlane(const EikonalPlane<T>& plane, SweepMark<T>* scratch);)

}  // namespace tavrix::detail
