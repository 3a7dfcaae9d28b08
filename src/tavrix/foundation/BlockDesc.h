#pragma once

#include <tavrix/platform/Types.h>

namespace tavrix
{

/// Start and count of a block in a flat array: one row of a compressed adjacency list.
template <class T>
struct BlockDescT
{
    /// The block is the elements [start, start + count).
    /// @{
    T start, count;

    friend constexpr bool operator==(const BlockDescT&, const BlockDescT&) = default;
    /// @}
};

/// A block of an array with 32-bit indices.
using BlockDesc = BlockDescT<uint32>;
static_assert(sizeof(BlockDesc) == 8);

}  // namespace tavrix
