#pragma once

#include <algorithm>
#include <array>
#include <bit>

#include <tavrix/foundation/Array.h>

namespace tavrix::detail
{

/// Numbers [0, size) waiting by cost, each at most once: the cheapest bucket first, first in, first out
/// within it. A bucket holds the costs within a sixteenth of each other, so that putting and taking cost next
/// to nothing, and equal costs take turns. Of many numbers it holds those within a factor of four: in their
/// own order they are looked up faster, and the order of so many says little.
class BucketQueue
{
public:
    explicit BucketQueue(uint32 size) : _shift(size > manyNumbers ? 24 : 23 - mantissaBits), _next(size)
    {
        _first.fill(noIndex);
        _last.fill(noIndex);
    }

    /// Costs below 0 count as 0, those that are not numbers or infinite as the largest.
    void put(uint32 number, float cost)
    {
        const uint32 bucket = bucketOf(cost);
        _next[number] = noIndex;
        (_first[bucket] == noIndex ? _first[bucket] : _next[_last[bucket]]) = number;
        _last[bucket] = number;
        _cheapest = std::min(_cheapest, bucket);
    }

    /// Takes the next one; noIndex when none waits.
    uint32 take()
    {
        while (_cheapest < buckets && _first[_cheapest] == noIndex) ++_cheapest;
        if (_cheapest == buckets) return noIndex;
        const uint32 number = _first[_cheapest];
        _first[_cheapest] = _next[number];
        return number;
    }

    /// The number that comes next in the present bucket, and the one behind a number; noIndex at its end.
    /// @{
    uint32 next() const { return _cheapest < buckets ? _first[_cheapest] : noIndex; }
    uint32 behind(uint32 number) const { return _next[number]; }
    /// @}

private:
    static constexpr uint32 mantissaBits = 4, buckets = 256u << mantissaBits, manyNumbers = 1u << 16;

    uint32 bucketOf(float cost) const
    {
        if (!(cost > 0)) return cost <= 0 ? 0 : buckets - 1;
        return std::bit_cast<uint32>(cost) >> _shift;
    }

    uint32 _shift;  ///< from the bits of a cost to its bucket
    std::array<uint32, buckets> _first, _last;
    Array<uint32> _next;
    uint32 _cheapest = 0;
};

}  // namespace tavrix::detail
