#include <tavrix/fields/detail/NeighbourMomentsKernel.h>

#include <tavrix/foundation/detail/KernelMath.h>

namespace tavrix::detail::TX_KERNEL
{

inline void addMoments(float (*__restrict sums)[lanes], const float* __restrict x, const float* __restrict y,
                       const float* __restrict z, const float (&place)[3], float scale)
{
    for (uint32 n = 0; n < lanes; ++n)
    {
        const float dx = (x[n] - place[0]) * scale;
        const float dy = (y[n] - place[1]) * scale;
        const float dz = (z[n] - place[2]) * scale;
        const float q = limited(dx * dx + dy * dy + dz * dz);
        const float w = 1.0f - q * sqrtf(q);
        const float wx = w * dx, wy = w * dy, wz = w * dz;
        sums[0][n] += w;
        sums[1][n] += wx;
        sums[2][n] += wy;
        sums[3][n] += wz;
        sums[4][n] += wx * dx;
        sums[5][n] += wx * dy;
        sums[6][n] += wx * dz;
        sums[7][n] += wy * dy;
        sums[8][n] += wy * dz;
        sums[9][n] += wz * dz;
    }
}

NeighbourMoments sumNeighbours(const Points& points, const float (&place)[3], float reciprocalReach)
{
    float sums[10][lanes] = {};
    const float *x = points.coordinates[0], *y = points.coordinates[1], *z = points.coordinates[2];
    for (uint32 n = 0; n < points.count; n += lanes)
        addMoments(sums, x + n, y + n, z + n, place, reciprocalReach);
    NeighbourMoments m;
    m.weight = sumOf(sums[0]);
    for (uint32 n = 0; n < 3; ++n) m.first[n] = sumOf(sums[1 + n]);
    for (uint32 n = 0; n < 6; ++n) m.second[n] = sumOf(sums[4 + n]);
    return m;
}

inline void addOffsets(float (*__restrict sums)[lanes], const float* __restrict x, const float* __restrict y,
                       const float* __restrict z, const float (&place)[3], const SymmetricMatrix& f)
{
    for (uint32 n = 0; n < lanes; ++n)
    {
        const float dx = x[n] - place[0], dy = y[n] - place[1], dz = z[n] - place[2];
        const float square = (f[0] * dx + 2.0f * (f[1] * dy + f[2] * dz)) * dx +
                             (f[3] * dy + 2.0f * f[4] * dz) * dy + f[5] * dz * dz;
        const float q = limited(square);
        const float w = 1.0f - q * sqrtf(q);
        sums[0][n] += w;
        sums[1][n] += w * dx;
        sums[2][n] += w * dy;
        sums[3][n] += w * dz;
    }
}

MeanOffset meanOfNeighbours(const Points& points, const float (&place)[3], const SymmetricMatrix& form)
{
    float sums[4][lanes] = {};
    const float *x = points.coordinates[0], *y = points.coordinates[1], *z = points.coordinates[2];
    for (uint32 n = 0; n < points.count; n += lanes) addOffsets(sums, x + n, y + n, z + n, place, form);
    const float weight = sumOf(sums[0]);
    return {sumOf(sums[1]) / weight, sumOf(sums[2]) / weight, sumOf(sums[3]) / weight};
}

}  // namespace tavrix::detail::TX_KERNEL
