#include <tavrix/spatial/detail/IntegratingKernel.h>

#include <tavrix/foundation/detail/KernelMath.h>

namespace tavrix::detail::TX_KERNEL
{

namespace
{

constexpr float none = -farValue;

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

/// The scores of a row with the rows [0, count); with itself it has none.
inline void scoreAll(const IntegratingRows& rows, uint32 row, uint32 count, float* __restrict scores)
{
    const RowBox box = boxOf(rows, row);
    for (uint32 r = 0; r < count; ++r)
    {
        const float x = larger(box.maxX, rows.max[0][r]) - smaller(box.minX, rows.min[0][r]);
        const float y = larger(box.maxY, rows.max[1][r]) - smaller(box.minY, rows.min[1][r]);
        const float z = larger(box.maxZ, rows.max[2][r]) - smaller(box.minZ, rows.min[2][r]);
        scores[r] = 0.2f * (box.volume + rows.volume[r]) - x * y * z;
    }
    scores[row] = none;
}

/// Maxima that run side by side; more than the compiler unrolls, so that it vectorises their loops.
constexpr uint32 runs = 4 * lanes;
static_assert(IntegratingRows::capacity % runs == 0);

inline float greatest(const float* __restrict values, uint32 count)
{
    float most[runs];
    for (uint32 n = 0; n < runs; ++n) most[n] = none;
    for (uint32 first = 0; first < count; first += runs)
        for (uint32 n = 0; n < runs; ++n) most[n] = larger(values[first + n], most[n]);
    for (uint32 half = runs / 2; half > 0; half /= 2)
        for (uint32 n = 0; n < half; ++n) most[n] = larger(most[n + half], most[n]);
    return most[0];
}

inline uint32 firstOf(const float* __restrict values, uint32 count, float value)
{
    int32 first = -1;
    for (int32 n = static_cast<int32>(count) - 1; n >= 0; --n) first = values[n] == value ? n : first;
    return static_cast<uint32>(first);
}

/// The rows up to the next whole number of runs.
inline uint32 padded(uint32 count) { return (count + runs - 1) / runs * runs; }

inline void takeBest(IntegratingRows& rows, uint32 row, const float* scores, uint32 count)
{
    const float best = greatest(scores, count);
    rows.best[row] = best;
    rows.partner[row] = best > none ? firstOf(scores, count, best) : noIndex;
}

}  // namespace

void scoreLastRow(IntegratingRows& rows)
{
    const uint32 last = rows.count - 1, count = padded(rows.count);
    float scores[IntegratingRows::capacity];
    scoreAll(rows, last, count, scores);
    float* __restrict best = rows.best;
    uint32* __restrict partner = rows.partner;
    for (uint32 r = 0; r < count; ++r)
    {
        const bool isBetter = scores[r] > best[r];
        best[r] = isBetter ? scores[r] : best[r];
        partner[r] = isBetter ? last : partner[r];
    }
    takeBest(rows, last, scores, count);
}

void rescore(IntegratingRows& rows, uint32 row)
{
    const uint32 count = padded(rows.count);
    float scores[IntegratingRows::capacity];
    scoreAll(rows, row, count, scores);
    takeBest(rows, row, scores, count);
}

uint32 bestRow(const IntegratingRows& rows)
{
    const uint32 count = padded(rows.count);
    const float best = greatest(rows.best, count);
    return best > none ? firstOf(rows.best, count, best) : noIndex;
}

}  // namespace tavrix::detail::TX_KERNEL
