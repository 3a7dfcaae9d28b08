#pragma once

// What the splatting kernels share. Included by kernel sources only: everything is in the namespace
// TX_KERNEL.

#include <cstddef>

#include <tavrix/foundation/detail/KernelMath.h>

namespace tavrix::detail::TX_KERNEL
{

/// Nodes of one axis, half open.
struct NodeRange
{
    uint32 low, high;

    bool isEmpty() const { return low >= high; }

    /// The nodes of [low, high) that lie in [first, last).
    static NodeRange between(double first, double last, uint32 low, uint32 high)
    {
        return {first > low ? (first < high ? static_cast<uint32>(first) : high) : low,
                last < high ? (last > low ? static_cast<uint32>(last) : low) : high};
    }
};

/// The part of the stored rows that a particle goes along: the same for all its rows, because a branch on
/// each row's own length costs more than it saves.
struct RowPart
{
    uint32 start;  ///< the first stored sample
    uint32 count;  ///< samples, in whole groups of lanes where the rows have room for them
    std::ptrdiff_t
        skipped;  ///< from the first node of the range to the first sample; not above 0 nor below -lanes

    static RowPart covering(NodeRange range, uint32 rowStart, uint32 rowLength)
    {
        const uint32 low = range.low - rowStart, needed = range.high - range.low;
        const uint32 padded = (needed + lanes - 1) / lanes * lanes;
        if (padded > rowLength) return {low, needed, 0};
        const uint32 start = low < rowLength - padded ? low : rowLength - padded;
        return {start, padded, static_cast<std::ptrdiff_t>(start) - static_cast<std::ptrdiff_t>(low)};
    }
    bool isInGroups() const { return count % lanes == 0; }
};

}  // namespace tavrix::detail::TX_KERNEL
