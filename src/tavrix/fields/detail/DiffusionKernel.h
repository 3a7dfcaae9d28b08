#pragma once

#include <cstddef>

#include <tavrix/fields/detail/DiffusionStep.h>
#include <tavrix/foundation/detail/Kernel.h>

namespace tavrix::detail
{

/// Rows of samples along z around the row to be written; beyond the grid's faces the row itself.
template <class Value>
struct DiffusedRow
{
    Value* out;
    const Value *own, *lowX, *highX, *lowY, *highY;
};

/// Some rows of a plane x = const, which follow each other in y, as relaxBand has them side by side: node k
/// of row r stands in step k + r at place r. So a node's neighbours in y and z stand in the steps before and
/// behind its own, and the nodes of a step are independent of each other.
///
/// Before step 0 and behind the last one there is room for a step, and before place 0 and behind the last row
/// for one place. Those beside the first and the last row hold the samples of the rows there.
template <class Value>
struct DiffusedBand
{
    Value* own;
    const Value *source, *lowX, *highX;  ///< of the same shape; beyond the grid's faces the band itself
    uint32 rows, sizeZ;
    std::size_t stride;  ///< from step to step
};

/// diffuseRow makes an explicit step of a row's samples; relaxBand one relaxation of a band's, in place: a
/// node finds its neighbours of lower indices relaxed.
TX_DECLARE_KERNEL(template <class Value> void diffuseRow(const DiffusedRow<Value>& row, uint32 sizeZ,
                                                         const DiffusionStep<Value>& step);
                  template <class Value>
                  void relaxBand(const DiffusedBand<Value>& band, const DiffusionStep<Value>& step);)

}  // namespace tavrix::detail
