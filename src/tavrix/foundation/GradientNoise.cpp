#include <tavrix/foundation/GradientNoise.h>

#include <algorithm>
#include <cmath>

namespace tavrix
{

namespace
{

/// A hash of the lattice point that tells neighbours apart (the finaliser of SplitMix64, once a coordinate).
uint64 hashOf(int64 x, int64 y, int64 z, uint64 seed)
{
    uint64 hash = seed;
    for (const int64 n : {x, y, z})
    {
        hash += static_cast<uint64>(n) + 0x9E3779B97F4A7C15u;
        hash = (hash ^ (hash >> 30)) * 0xBF58476D1CE4E5B9u;
        hash = (hash ^ (hash >> 27)) * 0x94D049BB133111EBu;
        hash ^= hash >> 31;
    }
    return hash;
}

/// The product with one of the twelve directions from the middle of a cube to its edges.
double alongGradient(uint64 hash, double x, double y, double z)
{
    const auto edge = static_cast<uint32>((hash >> 32) * 12 >> 32);
    const double a = edge < 8 ? x : y, b = edge < 4 ? y : z;
    return (edge % 2 == 0 ? a : -a) + (edge % 4 < 2 ? b : -b);
}

/// From 0 to 1, flat to the second derivative at both ends.
double fade(double t) { return t * t * t * (t * (t * 6 - 15) + 10); }

double mixed(double t, double a, double b) { return a + t * (b - a); }

}  // namespace

double GradientNoise::at(const Vector3D& p) const
{
    constexpr double farthest = 1e15;
    if (!(std::max({std::fabs(p.x), std::fabs(p.y), std::fabs(p.z)}) < farthest)) return 0;
    const Vector3D low{std::floor(p.x), std::floor(p.y), std::floor(p.z)}, d = p - low;
    const auto corner = [&](int i, int j, int k)
    {
        const uint64 hash = hashOf(static_cast<int64>(low.x) + i, static_cast<int64>(low.y) + j,
                                   static_cast<int64>(low.z) + k, _seed);
        return alongGradient(hash, d.x - i, d.y - j, d.z - k);
    };
    const double u = fade(d.x), v = fade(d.y), w = fade(d.z);
    const auto alongX = [&](int j, int k) { return mixed(u, corner(0, j, k), corner(1, j, k)); };
    return mixed(w, mixed(v, alongX(0, 0), alongX(1, 0)), mixed(v, alongX(0, 1), alongX(1, 1)));
}

double GradientNoise::fractal(const Vector3D& p, uint32 octaves) const
{
    const uint32 count = std::clamp(octaves, 1u, 32u);
    double sum = 0, weights = 0, weight = 1, scale = 1;
    for (uint32 n = 0; n < count; ++n)
    {
        // octaves by seeds of their own, so that their zeros do not lie on each other's
        sum += weight * GradientNoise(_seed + n * 0x9E3779B9u).at(p * scale);
        weights += weight;
        weight /= 2;
        scale *= 2;
    }
    return sum / weights;
}

}  // namespace tavrix
