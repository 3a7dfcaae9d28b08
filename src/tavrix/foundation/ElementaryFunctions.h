#pragma once

#include <cmath>
#include <utility>

#include <tavrix/platform/Export.h>

namespace tavrix
{

/// Pi in double precision.
inline constexpr double piValue = 3.141592653589793;

/// On a function that kernels for several instruction sets share: it is never compiled on its own.
#if defined(__GNUC__)
#define TX_ALWAYS_INLINE [[gnu::always_inline]] inline
#else
#define TX_ALWAYS_INLINE inline
#endif

/// The angle in [0, pi] whose cosine is x; x is clamped to [-1, 1], and a NaN stays one.
///
/// Error below 1e-15, and the same bits on every system: basic arithmetic and the square root only. With s =
/// |x| up to 1/2, and s = sqrt((1 - |x|) / 2) beyond (half-angle formula), asin(s) = s + s^3 P(s^2) with a
/// minimax polynomial P. Free of branches, so that a loop over an array of cosines vectorises.
TX_ALWAYS_INLINE double arcCosine(double x)
{
    x = x < -1.0 ? -1.0 : x;
    x = x > 1.0 ? 1.0 : x;
    const double a = std::fabs(x);
    const bool nearOne = a > 0.5;
    const double z = nearOne ? (1.0 - a) * 0.5 : x * x;
    const double root = std::sqrt(z);
    const double s = nearOne ? root : a;
    double p = 0.0316221685531403;
    p = p * z - 0.015773649399896263;
    p = p * z + 0.019220862391315926;
    p = p * z + 0.006648998691168881;
    p = p * z + 0.012138831253256847;
    p = p * z + 0.013890305644999308;
    p = p * z + 0.01735913583489596;
    p = p * z + 0.022371800476838056;
    p = p * z + 0.030381957108527327;
    p = p * z + 0.044642856886250956;
    p = p * z + 0.0750000000025099;
    p = p * z + 0.16666666666665886;
    const double asinS = s + s * (z * p);
    const double fromZero = nearOne ? asinS + asinS : 0.5 * piValue - asinS;
    return x < 0.0 ? piValue - fromZero : fromZero;
}

/// The pair (sin x, cos x), x in radians; (NaN, NaN) when x is not finite.
///
/// The same bits on every system. Error below 1e-15 for |x| up to 10^6; beyond, x is first reduced by the
/// double nearest to 2 pi, whose rounding then shows (error about 1e-16 |x|, no more than that of x itself).
/// Reduction to [-pi/4, pi/4] by pi/2 in four parts (Cody and Waite), then minimax polynomials.
TX_GEOMETRY_API std::pair<double, double> sineCosine(double x);

}  // namespace tavrix
