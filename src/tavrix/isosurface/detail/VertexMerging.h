#pragma once

#include <functional>

#include <tavrix/foundation/Array.h>
#include <tavrix/foundation/detail/Polling.h>
#include <tavrix/foundation/Vector3.h>

namespace tavrix::detail
{

/// Orders positions that are equal, by their index; null stands for the index itself.
using Rank = std::function<uint64(uint32 index)>;

/// Sorts positions by x, then y, then z, two coordinates counting as equal when they differ by no more than
/// the tolerance, and lets each join the group of the last opener when it equals it on all three axes, or
/// open its own.
///
/// That comparison is no strict weak ordering, so "sorted" is pinned down: runs that no gap wider than the
/// tolerance splits are ordered by the exact coordinate; inside a run that is no wider than the tolerance the
/// next axis decides in the same way; inside a wider run a merge sort with the comparison itself does.
/// Wherever the comparison orders without contradiction this is its order; elsewhere it is one fixed order on
/// every system and for every thread count. Equal positions are ordered by rank. Coordinates that are not
/// numbers sort last and equal nothing.
///
/// Leaves one position a group, its first, in group order, and returns the group of every old position;
/// `openers`, when not null, receives the old number of each group's first. Once the polling has stopped, all
/// that means nothing. Linear in the positions for meshes (a counting sort along x, nearly sorted runs),
/// O(n log n) at worst; 37 bytes a position besides.
Array<uint32> mergeVertices(Array<Vector3D>& positions, double tolerance, uint32 threadCount,
                            Polling& polling, Array<uint32>* openers = nullptr, const Rank& rank = {});

}  // namespace tavrix::detail
