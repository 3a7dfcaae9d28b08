#pragma once

#include <tavrix/foundation/detail/Kernel.h>
#include <tavrix/platform/Types.h>

namespace tavrix::detail
{

/// The rows of a scoring table, one array a quantity, so that eight rows are scored at a time. A row without
/// a box (merged away, or behind the end) has a volume that is not a number
/// and so has every score with it, which no comparison takes for a better one; its best score is below those
/// of all others.
struct IntegratingRows
{
    /// A block's boxes, and room for new ones until the merged rows are swept out.
    static constexpr uint32 capacity = 256 + 64;

    float min[3][capacity];
    float max[3][capacity];
    float volume[capacity];
    float best[capacity];      ///< the best score with another row
    uint32 partner[capacity];  ///< the first row with that score, noIndex when there is none
    uint32 count;
};

/// The score of two boxes is 0.2 (volume + volume) - volume of the smallest box that holds both, in single
/// precision. scoreLastRow scores the last row against those before it; these take it for their partner when
/// it is better than what they have. rescore finds the best partner of a row among all others anew. bestRow
/// is the first row with the greatest score, noIndex when no row has a partner.
TX_DECLARE_KERNEL(void scoreLastRow(IntegratingRows& rows); void rescore(IntegratingRows& rows, uint32 row);
                  uint32 bestRow(const IntegratingRows& rows);)

}  // namespace tavrix::detail
