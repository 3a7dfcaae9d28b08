#include <tavrix/foundation/detail/RankSelection.h>

#include <algorithm>

namespace tavrix::detail
{

namespace
{

WideKey withBit(WideKey key, uint32 bit)
{
    (bit < 64 ? key.lower : key.upper) |= uint64{1} << (bit % 64);
    return key;
}

int64 weightBelow(const std::vector<KeyPlace>& items, const WideKey& key)
{
    return std::lower_bound(items.begin(), items.end() - 1, key,
                            [](const KeyPlace& item, const WideKey& k) { return item.key < k; })
        ->before;
}

}  // namespace

std::vector<WideKey> selectKeys(RankGroup& ranks, const std::vector<KeyPlace>& items,
                                const std::vector<int64>& targets, uint32 bits)
{
    // the largest key that no more than the target lies below
    std::vector<WideKey> keys(targets.size(), WideKey{0, 0});
    std::vector<int64> below(targets.size());
    for (uint32 bit = bits; bit-- > 0;)
    {
        for (std::size_t t = 0; t < targets.size(); ++t) below[t] = weightBelow(items, withBit(keys[t], bit));
        ranks.sum(below);
        for (std::size_t t = 0; t < targets.size(); ++t)
            if (below[t] <= targets[t]) keys[t] = withBit(keys[t], bit);
    }
    return keys;
}

}  // namespace tavrix::detail
