// The scoring loops, compiled once for each instruction set into a namespace of its own.

#include <tavrix/foundation/detail/Lanes.h>
#include <tavrix/spatial/detail/IntegratingRows.h>

namespace tavrix::detail::TX_KERNEL
{

namespace
{

static_assert(IntegratingRows::capacity % lanes == 0);

constexpr float none = -farValue;

/// The greatest of eight running maxima, the first of equal ones, and the row that it came from.
struct Maximum
{
    float value[lanes];
    uint32 row[lanes];

    uint32 winner() const
    {
        uint32 lane = 0;
        for (uint32 n = 1; n < lanes; ++n)
            if (value[n] > value[lane] || (value[n] == value[lane] && row[n] < row[lane])) lane = n;
        return lane;
    }
};

inline Maximum noMaximum()
{
    Maximum m;
    for (uint32 n = 0; n < lanes; ++n)
    {
        m.value[n] = none;
        m.row[n] = noIndex;
    }
    return m;
}

/// A box on its own.
struct RowBox
{
    float minX, minY, minZ, maxX, maxY, maxZ, volume;
};

inline RowBox boxOf(const IntegratingRows& rows, uint32 r)
{
    return {rows.min[0][r], rows.min[1][r], rows.min[2][r], rows.max[0][r],
            rows.max[1][r], rows.max[2][r], rows.volume[r]};
}

/// The scores of a box with the eight rows from `first` on.
inline void scoreEight(const IntegratingRows& rows, uint32 first, const RowBox& box, float* __restrict scores)
{
    for (uint32 n = 0; n < lanes; ++n)
    {
        const uint32 r = first + n;
        const float x = larger(box.maxX, rows.max[0][r]) - smaller(box.minX, rows.min[0][r]);
        const float y = larger(box.maxY, rows.max[1][r]) - smaller(box.minY, rows.min[1][r]);
        const float z = larger(box.maxZ, rows.max[2][r]) - smaller(box.minZ, rows.min[2][r]);
        scores[n] = 0.2f * (box.volume + rows.volume[r]) - x * y * z;
    }
}

inline void raise(Maximum& m, const float* __restrict values, uint32 first)
{
    for (uint32 n = 0; n < lanes; ++n)
    {
        const bool isBetter = values[n] > m.value[n];
        m.value[n] = isBetter ? values[n] : m.value[n];
        m.row[n] = isBetter ? first + n : m.row[n];
    }
}

inline void take(IntegratingRows& rows, uint32 row, const Maximum& m)
{
    const uint32 lane = m.winner();
    rows.best[row] = m.value[lane];
    rows.partner[row] = m.row[lane];
}

}  // namespace

void scoreLastRow(IntegratingRows& rows)
{
    const uint32 last = rows.count - 1;
    const RowBox box = boxOf(rows, last);
    Maximum m = noMaximum();
    float scores[lanes];
    for (uint32 first = 0; first < last; first += lanes)
    {
        scoreEight(rows, first, box, scores);
        if (last - first < lanes) scores[last - first] = none;
        for (uint32 n = 0; n < lanes; ++n)
        {
            const bool isBetter = scores[n] > rows.best[first + n];
            rows.best[first + n] = isBetter ? scores[n] : rows.best[first + n];
            rows.partner[first + n] = isBetter ? last : rows.partner[first + n];
        }
        raise(m, scores, first);
    }
    take(rows, last, m);
}

void rescore(IntegratingRows& rows, uint32 row)
{
    const RowBox box = boxOf(rows, row);
    Maximum m = noMaximum();
    float scores[lanes];
    for (uint32 first = 0; first < rows.count; first += lanes)
    {
        scoreEight(rows, first, box, scores);
        if (row - first < lanes) scores[row - first] = none;
        raise(m, scores, first);
    }
    take(rows, row, m);
}

uint32 bestRow(const IntegratingRows& rows)
{
    Maximum m = noMaximum();
    for (uint32 first = 0; first < rows.count; first += lanes) raise(m, rows.best + first, first);
    return m.row[m.winner()];
}

}  // namespace tavrix::detail::TX_KERNEL
