#pragma once

// The sorts of runs that one thread has at hand. All are stable and the same everywhere, which std::sort is
// not. Of millions of items with many threads: RadixSort.h by a 32-bit key, BucketSort.h into numbered
// buckets.

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstddef>
#include <limits>
#include <utility>

#include <tavrix/foundation/detail/BitsOf.h>

namespace tavrix::detail
{

inline constexpr std::ptrdiff_t anyNumber = std::numeric_limits<std::ptrdiff_t>::max();

/// Inserts the records [middle, end), one after the other, into the sorted records [begin, middle): the
/// fastest where there are few, or few out of place. Takes what it moves from `moves`; false, and the records
/// in some order, when these run out.
template <class Record, class Less>
bool insertSorted(Record* begin, Record* middle, Record* end, Less less, std::ptrdiff_t& moves)
{
    for (Record* next = middle; next < end; ++next)
    {
        if (!less(*next, next[-1])) continue;
        const Record moved = *next;
        Record* const last = next - std::min(next - begin, moves);
        Record* hole = next;
        for (; hole != last && less(moved, hole[-1]); --hole) *hole = hole[-1];
        *hole = moved;
        moves -= next - hole;
        if (hole == last && last != begin) return false;
    }
    return true;
}

template <class Record, class Less>
void insertionSort(Record* begin, Record* end, Less less)
{
    std::ptrdiff_t moves = anyNumber;
    if (begin != end) insertSorted(begin, begin + 1, end, less, moves);
}

/// Merges the sorted runs [a, aEnd) and [b, bEnd) to `to`; the first run goes first where records are equal.
/// Calls worked(count) after every `piece` records at most, and stops when that is false.
template <class Record, class Less, class Worked>
bool mergeRuns(const Record* a, const Record* aEnd, const Record* b, const Record* bEnd, Record* to,
               Less less, std::ptrdiff_t piece, Worked worked)
{
    while (a != aEnd || b != bEnd)
    {
        // as many steps as neither run can end in
        std::ptrdiff_t count = std::min({aEnd - a, bEnd - b, piece});
        for (std::ptrdiff_t n = 0; n < count; ++n)
        {
            const bool second = less(*b, *a);
            *to++ = second ? *b : *a;
            b += second;
            a += !second;
        }
        if (count == 0)
        {
            const Record*& rest = a != aEnd ? a : b;
            count = std::min(a != aEnd ? aEnd - a : bEnd - b, piece);
            to = std::copy(rest, rest + count, to);
            rest += count;
        }
        if (!worked(count)) return false;
    }
    return true;
}

/// Merges neighbouring sorted runs of `width` records, two at a time, until there is one. `scratch` has room
/// for as many records; its contents are lost. In bounds and the same everywhere for any answers of `less`.
/// For `piece` and `worked` see mergeRuns; false, and the records lost, when stopped.
template <class Record, class Less, class Worked>
bool mergeSort(Record* records, std::ptrdiff_t count, std::ptrdiff_t width, Record* scratch, Less less,
               std::ptrdiff_t piece, Worked worked)
{
    Record *from = records, *to = scratch;
    for (; width < count; width *= 2)
    {
        for (std::ptrdiff_t low = 0; low < count; low += 2 * width)
        {
            const std::ptrdiff_t middle = std::min(low + width, count),
                                 high = std::min(low + 2 * width, count);
            if (!mergeRuns(from + low, from + middle, from + middle, from + high, to + low, less, piece,
                           worked))
                return false;
        }
        std::swap(from, to);
    }
    if (from == records) return true;
    return mergeRuns(from, from + count, from, from, records, less, piece, worked);
}

/// Sorts by the unsigned key keyOf(record), a digit after the other from the lowest; linear. Calls
/// worked(count) after every pass; when that throws, the records are lost.
template <class Record, class KeyOf, class Worked>
void radixSort(Record* records, uint32 count, Record* scratch, KeyOf keyOf, Worked worked)
{
    using Key = decltype(keyOf(*records));
    constexpr uint32 digitBits = 11, digitValues = 1u << digitBits;
    constexpr uint32 digits = (8 * sizeof(Key) + digitBits - 1) / digitBits;
    const auto digit = [](Key key, uint32 n)
    { return static_cast<uint32>(key >> (n * digitBits)) & (digitValues - 1); };

    std::array<std::array<uint32, digitValues>, digits> counts{};
    for (uint32 r = 0; r < count; ++r)
    {
        const Key key = keyOf(records[r]);
        for (uint32 n = 0; n < digits; ++n) ++counts[n][digit(key, n)];
    }
    Record *from = records, *to = scratch;
    for (uint32 n = 0; n < digits; ++n)
    {
        auto& places = counts[n];
        if (places[digit(keyOf(from[0]), n)] == count) continue;  // a digit that all share
        uint32 place = 0;
        for (uint32& next : places) place += std::exchange(next, place);
        for (uint32 r = 0; r < count; ++r) to[places[digit(keyOf(from[r]), n)]++] = from[r];
        std::swap(from, to);
        worked(count);
    }
    if (from != records) std::copy(from, from + count, records);
}

/// For sorts of which nobody is told.
struct NoWorked
{
    void operator()(uint32) const {}
};

/// Sorts by the unsigned key keyOf(record), by what is the fastest for so many. `scratch` has room for as
/// many records; its contents are lost. Calls worked(count) as radixSort does.
template <class Record, class KeyOf, class Worked = NoWorked>
void sortByKey(Record* records, uint32 count, Record* scratch, KeyOf keyOf, Worked worked = {})
{
    constexpr uint32 fewRecords = 24, manyRecords = 1024;
    const auto less = [keyOf](const Record& a, const Record& b) { return keyOf(a) < keyOf(b); };
    if (count <= fewRecords) return insertionSort(records, records + count, less);
    if (std::is_sorted(records, records + count, less)) return;
    if (count >= manyRecords) return radixSort(records, count, scratch, keyOf, worked);
    for (uint32 low = 0; low < count; low += fewRecords)
        insertionSort(records + low, records + std::min(low + fewRecords, count), less);
    mergeSort(records, count, fewRecords, scratch, less, anyNumber, [](std::ptrdiff_t) { return true; });
}

/// Bits that order numbers as the numbers are ordered: -0 is 0, and what is not a number comes last, all of
/// it equal.
template <class T>
auto orderedBits(T number)
{
    using Bits = BitsOf<T>;
    constexpr Bits sign = Bits{1} << (8 * sizeof(Bits) - 1);
    if (std::isnan(number)) return static_cast<Bits>(~Bits{0});
    const auto bits = std::bit_cast<Bits>(number + T(0));
    return static_cast<Bits>(bits & sign ? ~bits : bits | sign);
}

}  // namespace tavrix::detail
