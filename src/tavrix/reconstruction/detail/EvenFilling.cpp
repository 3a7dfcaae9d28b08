#include <tavrix/reconstruction/detail/EvenFilling.h>

#include <algorithm>

namespace tavrix::detail
{

namespace
{

constexpr double pi = 3.14159265358979;

/// The radius of a ball of one cubic spacing.
constexpr double ownRadius = 0.620350490899400;

double cubed(double x) { return x * x * x; }

/// A kernel at a distance from its centre.
double kernelAt(double distance, double reach)
{
    const double q = distance / reach;
    return cubed(std::max(1 - q * q, 0.0));
}

/// The density so deep below the plane surface of a continuous filling: the part of the kernel's integral
/// below a plane, whose density along an axis is (1 - u^2)^4.
double densityAtDepth(double depth, double reach)
{
    const double u = std::min(depth / reach, 1.0), s = u * u;
    const double integral = u * (1 + s * (-4.0 / 3 + s * (6.0 / 5 + s * (-4.0 / 7 + s / 9))));
    return 0.5 + integral * 315 / 256;
}

}  // namespace

double EvenFilling::ownValue(double reach) { return kernelAt(std::min(ownRadius, 0.9 * reach), reach); }

EvenFilling::EvenFilling(double reach) : _value(64 * pi / 315 * cubed(reach))
{
    // at the middle of a cube of particles, where the gaps are the largest; with some room for disorder
    const double atGap =
        0.6 * (8 * kernelAt(0.866025403784439, reach) + 24 * kernelAt(1.6583123951777, reach));
    const double atOwnRadius = ownValue(reach);
    const double level = std::min(_value / 2, std::max(atGap, atOwnRadius));
    _level = level / _value;

    // Particles in the outermost layer of a liquid lie half a spacing deep. Disorder lowers the density of
    // some, which then would bulge: measured on jittered lattices, this factor keeps the mean where it is.
    constexpr double disorder = 0.92;
    const double full = disorder * densityAtDepth(0.5, reach), lone = 1 / _value;
    const double loneWeight = level / atOwnRadius;
    if (full < 1.1 * lone || loneWeight <= 1) return;
    _fullDensity = full;
    _gain = (loneWeight - 1) / (full / lone - 1);
}

}  // namespace tavrix::detail
