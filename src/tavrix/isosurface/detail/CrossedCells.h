#pragma once

#include <algorithm>
#include <bit>
#include <vector>

#include <tavrix/foundation/Array.h>
#include <tavrix/isosurface/detail/SignRows.h>

namespace tavrix::detail
{

/// A cell that the surface crosses: the monoindex of its lower node in the upper half, its case in the lower.
using CrossedCell = uint64;

constexpr CrossedCell crossedCell(uint32 monoindex, uint32 caseIndex)
{
    return CrossedCell{monoindex} << 32 | caseIndex;
}

/// Calls visit(k, case index) for every cell of a column, low <= k < high, that the surface crosses; `rows`
/// are the sign bits of the rows along its edges (i, j), (i + 1, j), (i + 1, j + 1) and (i, j + 1).
template <class Visit>
void forEachCrossedCell(const uint64* const (&rows)[4], uint32 wordsPerRow, uint32 low, uint32 high,
                        Visit visit)
{
    for (uint32 w = low / 64; w <= (high - 1) / 64; ++w)
    {
        uint64 near[4], far[4];
        uint64 any = 0, all = ~uint64{0};
        for (uint32 r = 0; r < 4; ++r)
        {
            const uint64 next = w + 1 < wordsPerRow ? rows[r][w + 1] : 0;
            near[r] = rows[r][w];
            far[r] = near[r] >> 1 | next << 63;
            any |= near[r] | far[r];
            all &= near[r] & far[r];
        }
        uint64 crossed = any & ~all;
        if (w == low / 64) crossed &= ~uint64{0} << (low % 64);
        if (w == high / 64) crossed &= (uint64{1} << (high % 64)) - 1;
        for (; crossed != 0; crossed &= crossed - 1)
        {
            const auto bit = static_cast<uint32>(std::countr_zero(crossed));
            uint64 index = 0;
            for (uint32 r = 0; r < 4; ++r)
                index |= (near[r] >> bit & 1) << r | (far[r] >> bit & 1) << (r + 4);
            visit(w * 64 + bit, static_cast<uint32>(index));
        }
    }
}

/// The same for the column (i, j) of a grid.
template <class Visit>
void forEachCrossedCell(const SignRows& signs, uint32 i, uint32 j, uint32 low, uint32 high, Visit visit)
{
    forEachCrossedCell({signs.row(i, j), signs.row(i + 1, j), signs.row(i + 1, j + 1), signs.row(i, j + 1)},
                       signs.wordsPerRow(), low, high, visit);
}

/// One array of what several workers found.
inline Array<CrossedCell> joined(const std::vector<std::vector<CrossedCell>>& parts)
{
    std::size_t count = 0;
    for (const auto& part : parts) count += part.size();
    Array<CrossedCell> all(Array<CrossedCell>::checkedSize(count));
    CrossedCell* next = all.data();
    for (const auto& part : parts) next = std::copy(part.begin(), part.end(), next);
    return all;
}

}  // namespace tavrix::detail
