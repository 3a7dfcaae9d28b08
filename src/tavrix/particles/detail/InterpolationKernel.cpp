#include <tavrix/particles/detail/InterpolationKernel.h>

#include <tavrix/foundation/detail/KernelMath.h>

namespace tavrix::detail::TX_KERNEL
{

/// Pointers to eight points and their values.
struct Eight
{
    const float *x, *y, *z, *a, *b, *c;
};

inline void addValues(float (*__restrict sums)[lanes], const Eight& p, const float (&place)[3], float scale)
{
    for (uint32 n = 0; n < lanes; ++n)
    {
        const float dx = (p.x[n] - place[0]) * scale;
        const float dy = (p.y[n] - place[1]) * scale;
        const float dz = (p.z[n] - place[2]) * scale;
        const float t = 1.0f - limited(dx * dx + dy * dy + dz * dz);
        const float w = t * t * t;
        sums[0][n] += w;
        sums[1][n] += w * p.a[n];
        sums[2][n] += w * p.b[n];
        sums[3][n] += w * p.c[n];
    }
}

void averageValues(const PointsWithValues& points, const float (&place)[3], float reciprocalReach,
                   float (&average)[3])
{
    float sums[4][lanes] = {};
    const float *x = points.coordinates[0], *y = points.coordinates[1], *z = points.coordinates[2];
    const float *a = points.values[0], *b = points.values[1], *c = points.values[2];
    for (uint32 n = 0; n < points.count; n += lanes)
        addValues(sums, {x + n, y + n, z + n, a + n, b + n, c + n}, place, reciprocalReach);
    const float weight = sumOf(sums[0]);
    for (uint32 axis = 0; axis < 3; ++axis)
        average[axis] = weight > 0.0f ? sumOf(sums[1 + axis]) / weight : 0.0f;
}

}  // namespace tavrix::detail::TX_KERNEL
