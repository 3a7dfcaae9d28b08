#pragma once

// What the splatting kernels share. Included by kernel sources only: everything is in the namespace
// TX_KERNEL.

#include <cstddef>

#include <tavrix/platform/Types.h>

namespace tavrix::detail::TX_KERNEL
{

constexpr uint32 lanes = 8;

inline double floorOf(double v)
{
    const auto truncated = static_cast<double>(static_cast<long long>(v));
    return truncated > v ? truncated - 1 : truncated;
}

inline double ceilOf(double v) { return -floorOf(-v); }

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

/// Calls apply(samples, zPart, count) along the nodes of a run in a row of samples, in whole groups of lanes
/// where the stored row has room for them. zPart belongs to the node zFirst on, and has `lanes` more values
/// on either side, for which apply must change nothing.
template <class Value, class Part, class Apply>
inline void applyAlongRun(Value* row, uint32 rowStart, uint32 rowLength, NodeRange run, const Part* zPart,
                          uint32 zFirst, Apply apply)
{
    uint32 start = run.low - rowStart;
    const uint32 padded = (run.high - run.low + lanes - 1) / lanes * lanes;
    if (padded > rowLength)
    {
        apply(row + start, zPart + (run.low - zFirst), run.high - run.low);
        return;
    }
    if (start > rowLength - padded) start = rowLength - padded;
    const Part* z = zPart + static_cast<std::ptrdiff_t>(start) + static_cast<std::ptrdiff_t>(rowStart) -
                    static_cast<std::ptrdiff_t>(zFirst);
    for (uint32 n = 0; n < padded; n += lanes) apply(row + start + n, z + n, lanes);
}

}  // namespace tavrix::detail::TX_KERNEL
