#include <tavrix/fields/detail/AdvectionKernel.h>

#include <tavrix/foundation/detail/KernelMath.h>

namespace tavrix::detail::TX_KERNEL
{

/// The upwind derivative times the separation, from the differences of neighbouring samples: d[0] is the one
/// that lies furthest upwind, d[2] the one between the upwind neighbour and the node.
inline float upwindDifference(float d0, float d1, float d2, float d3, float d4)
{
    const float a = d0 - 2 * d1 + d2, b = d1 - 2 * d2 + d3, c = d2 - 2 * d3 + d4;
    const float e = d0 - 4 * d1 + 3 * d2, f = d1 - d3, g = 3 * d2 - 4 * d3 + d4;
    const float largest =
        larger(larger(larger(d0 * d0, d1 * d1), larger(d2 * d2, d3 * d3)), larger(d4 * d4, 1e-30f));
    const float scale = 1 / largest;
    constexpr float curved = 13.0f / 12, sloped = 0.25f, epsilon = 1e-6f;
    const float s0 = (curved * a * a + sloped * e * e) * scale + epsilon;
    const float s1 = (curved * b * b + sloped * f * f) * scale + epsilon;
    const float s2 = (curved * c * c + sloped * g * g) * scale + epsilon;
    // the weights 0.1 / s0^2, 0.6 / s1^2 and 0.3 / s2^2, all times (s0 s1 s2)^2
    const float p0 = s1 * s2, p1 = s0 * s2, p2 = s0 * s1;
    const float w0 = 0.1f * p0 * p0, w1 = 0.6f * p1 * p1, w2 = 0.3f * p2 * p2;
    const float sixths =
        w0 * (2 * d0 - 7 * d1 + 11 * d2) + w1 * (5 * d2 - d1 + 2 * d3) + w2 * (2 * d2 + 5 * d3 - d4);
    return sixths / (6 * (w0 + w1 + w2));
}

/// The same of the samples around a node, by the sign of the speed, times the speed.
inline float carried(float speed, float m3, float m2, float m1, float own, float p1, float p2, float p3)
{
    const float e0 = m2 - m3, e1 = m1 - m2, e2 = own - m1, e3 = p1 - own, e4 = p2 - p1, e5 = p3 - p2;
    const bool fromBelow = speed > 0;
    return speed * upwindDifference(fromBelow ? e0 : e5, fromBelow ? e1 : e4, fromBelow ? e2 : e3,
                                    fromBelow ? e3 : e2, fromBelow ? e4 : e1);
}

void advectRun(const AdvectionRun& run, float keep, float timeStep, float* __restrict out)
{
    const float *x0 = run.x[0], *x1 = run.x[1], *x2 = run.x[2], *x3 = run.x[3], *x4 = run.x[4],
                *x5 = run.x[5];
    const float *y0 = run.y[0], *y1 = run.y[1], *y2 = run.y[2], *y3 = run.y[3], *y4 = run.y[4],
                *y5 = run.y[5];
    const float *z = run.z, *start = run.start;
    const float *speedX = run.speedX, *speedY = run.speedY, *speedZ = run.speedZ;
    for (int k = 0, count = static_cast<int>(run.count); k < count; ++k)
    {
        const float along =
            carried(speedX[k], x0[k], x1[k], x2[k], z[k], x3[k], x4[k], x5[k]) +
            carried(speedY[k], y0[k], y1[k], y2[k], z[k], y3[k], y4[k], y5[k]) +
            carried(speedZ[k], z[k - 3], z[k - 2], z[k - 1], z[k], z[k + 1], z[k + 2], z[k + 3]);
        out[k] = keep * start[k] + (1 - keep) * (z[k] - timeStep * along);
    }
}

void findVarying(const float* row, const float* const (&beside)[4], uint32 count, float tolerance,
                 uint8* __restrict varying)
{
    const float *a = beside[0], *b = beside[1], *c = beside[2], *d = beside[3];
    for (int k = 0, end = static_cast<int>(count); k < end; ++k)
    {
        const float own = row[k];
        const float across = larger(larger(absolute(own - a[k]), absolute(own - b[k])),
                                    larger(absolute(own - c[k]), absolute(own - d[k])));
        const float along = larger(absolute(own - row[k - 1]), absolute(own - row[k + 1]));
        varying[k] = larger(across, along) > tolerance ? 1 : 0;
    }
}

}  // namespace tavrix::detail::TX_KERNEL
