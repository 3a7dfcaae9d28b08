#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <utility>

#include <tavrix/foundation/detail/BitsOf.h>

namespace tavrix::detail
{

/// Bits that order numbers as the numbers are ordered: -0 is 0, and what is not a number comes last, all of
/// it equal.
template <class T>
auto orderedBits(T number)
{
    using Bits = BitsOf<T>;
    constexpr Bits sign = Bits{1} << (8 * sizeof(Bits) - 1);
    if (number != number) return static_cast<Bits>(~Bits{0});
    const auto bits = std::bit_cast<Bits>(number + T(0));
    return static_cast<Bits>(bits & sign ? ~bits : bits | sign);
}

/// Stable sorts of records by an unsigned key that `keyOf(record)` gives; which of them is the fastest
/// depends on how many there are.
template <class Record, class KeyOf>
class PairSort
{
public:
    /// `scratch` has room for as many records; its contents are lost.
    static void sort(Record* records, uint32 count, Record* scratch)
    {
        if (count <= insertionCount) return sortByInsertion(records, records + count);
        if (std::is_sorted(records, records + count, less)) return;
        if (count < radixCount)
            sortByMerging(records, count, scratch);
        else
            sortByDigits(records, count, scratch);
    }

private:
    using Key = decltype(KeyOf{}(std::declval<const Record&>()));

    static constexpr uint32 insertionCount = 24;
    static constexpr uint32 radixCount = 1024;
    static constexpr uint32 digitBits = 11;
    static constexpr uint32 digitValues = 1u << digitBits;
    static constexpr uint32 digits = (8 * sizeof(Key) + digitBits - 1) / digitBits;
    using Counts = std::array<std::array<uint32, digitValues>, digits>;

    static bool less(const Record& a, const Record& b) { return KeyOf{}(a) < KeyOf{}(b); }
    static uint32 digit(Key key, uint32 n)
    {
        return static_cast<uint32>(key >> (n * digitBits)) & (digitValues - 1);
    }

    static void sortByInsertion(Record* begin, Record* end)
    {
        for (Record* next = begin + 1; next < end; ++next)
        {
            const Record moved = *next;
            const Key key = KeyOf{}(moved);
            Record* hole = next;
            for (; hole != begin && key < KeyOf{}(hole[-1]); --hole) *hole = hole[-1];
            *hole = moved;
        }
    }

    static void merge(const Record* a, const Record* aEnd, const Record* b, const Record* bEnd, Record* to)
    {
        while (a != aEnd && b != bEnd)
        {
            const bool second = less(*b, *a);
            *to++ = second ? *b : *a;
            b += second;
            a += !second;
        }
        std::copy(b, bEnd, std::copy(a, aEnd, to));
    }

    static void sortByMerging(Record* records, uint32 count, Record* scratch)
    {
        for (uint32 low = 0; low < count; low += insertionCount)
            sortByInsertion(records + low, records + std::min(low + insertionCount, count));
        Record *from = records, *to = scratch;
        for (uint32 width = insertionCount; width < count; width *= 2)
        {
            for (uint32 low = 0; low < count; low += 2 * width)
            {
                const uint32 middle = std::min(low + width, count), high = std::min(low + 2 * width, count);
                merge(from + low, from + middle, from + middle, from + high, to + low);
            }
            std::swap(from, to);
        }
        if (from != records) std::copy(from, from + count, records);
    }

    static void sortByDigits(Record* records, uint32 count, Record* scratch)
    {
        Counts counts{};
        for (uint32 r = 0; r < count; ++r)
        {
            const Key key = KeyOf{}(records[r]);
            for (uint32 n = 0; n < digits; ++n) ++counts[n][digit(key, n)];
        }
        Record *from = records, *to = scratch;
        for (uint32 n = 0; n < digits; ++n)
        {
            auto& places = counts[n];
            if (places[digit(KeyOf{}(from[0]), n)] == count) continue;  // a digit that all share
            uint32 place = 0;
            for (uint32& next : places) place += std::exchange(next, place);
            for (uint32 r = 0; r < count; ++r) to[places[digit(KeyOf{}(from[r]), n)]++] = from[r];
            std::swap(from, to);
        }
        if (from != records) std::copy(from, from + count, records);
    }
};

}  // namespace tavrix::detail
