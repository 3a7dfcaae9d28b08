#pragma once

// The arithmetic that kernels share. Included by kernel sources only: everything is in the namespace
// TX_KERNEL, so that each variant has its own copy (Kernel.h says why).

#include <math.h>

#include <tavrix/platform/Types.h>

namespace tavrix::detail::TX_KERNEL
{

/// The numbers that are worked on side by side.
constexpr uint32 lanes = 8;

template <class T>
inline T larger(T a, T b)
{
    return a > b ? a : b;
}
template <class T>
inline T smaller(T a, T b)
{
    return a < b ? a : b;
}

inline float absolute(float v) { return fabsf(v); }
inline double absolute(double v) { return fabs(v); }

inline double floorOf(double v)
{
    const auto truncated = static_cast<double>(static_cast<long long>(v));
    return truncated > v ? truncated - 1 : truncated;
}
inline double ceilOf(double v) { return -floorOf(-v); }

struct Vector
{
    double x, y, z;
};

inline Vector operator+(const Vector& a, const Vector& b) { return {a.x + b.x, a.y + b.y, a.z + b.z}; }
inline Vector operator-(const Vector& a, const Vector& b) { return {a.x - b.x, a.y - b.y, a.z - b.z}; }
inline Vector operator*(const Vector& a, double s) { return {a.x * s, a.y * s, a.z * s}; }
inline double dot(const Vector& a, const Vector& b) { return a.x * b.x + a.y * b.y + a.z * b.z; }
inline Vector cross(const Vector& a, const Vector& b)
{
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}
inline double length(const Vector& v) { return sqrt(dot(v, v)); }

/// The sum of eight partial sums.
inline float sumOf(const float (&s)[lanes])
{
    return ((s[0] + s[4]) + (s[2] + s[6])) + ((s[1] + s[5]) + (s[3] + s[7]));
}

/// A squared distance, at most 1, and 1 where it is not a number (for which the order of the arguments
/// matters). One that rounding took below 0 stays as small as it was.
inline float limited(float squaredDistance) { return smaller(absolute(squaredDistance), 1.0f); }

}  // namespace tavrix::detail::TX_KERNEL
