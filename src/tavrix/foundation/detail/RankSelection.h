#pragma once

#include <vector>

#include <tavrix/foundation/RankGroup.h>

namespace tavrix::detail
{

/// A number of 128 bits to sort by.
struct WideKey
{
    uint64 upper, lower;

    friend bool operator<(const WideKey& a, const WideKey& b)
    {
        return a.upper < b.upper || (a.upper == b.upper && a.lower < b.lower);
    }
    friend bool operator==(const WideKey&, const WideKey&) = default;
};

/// A key with what lies before it: the sum of the weights of the items before it on its rank.
struct KeyPlace
{
    WideKey key;
    int64 before;
};

/// Items of many ranks in the order of their keys. Of each rank, ascending by key: its items, and one at the
/// end, whose key does not count, that has the weight of all.
///
/// Returns for each target, a number from 0 on below the weight of all items, the key at which the running
/// sum of all ranks' weights first passes it; the n-th smallest when all weigh 1. By bisection of the keys'
/// lowest `bits` bits, one sum over the ranks each, as many numbers as there are targets.
std::vector<WideKey> selectKeys(RankGroup& ranks, const std::vector<KeyPlace>& items,
                                const std::vector<int64>& targets, uint32 bits);

}  // namespace tavrix::detail
