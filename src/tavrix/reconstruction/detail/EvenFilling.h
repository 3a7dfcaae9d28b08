#pragma once

namespace tavrix::detail
{

/// What kernels (1 - q^2)^3, q the distance in reaches, add up to where particles fill space evenly, one a
/// cube of the spacing; what makes a level of their sum enclose the volume that the particles hold. Lengths
/// are in spacings, values in those of one kernel at its centre.
class EvenFilling
{
public:
    explicit EvenFilling(double reach);

    /// The sum within the filling: the kernel's integral. Divided by it sums are densities, 1 within.
    double value() const { return _value; }
    /// The density where a flat surface has the particles' volume behind it: a half, by symmetry. Where
    /// kernels are so small that gaps stay between them, the density at which a lone particle has its volume.
    double level() const { return _level; }

    /// The factor for a particle where the density is that, its own kernel included. It is 1 within the
    /// filling and at flat surfaces; less dense, in sheets, threads and drops, where the sum does not reach
    /// the level at the volume's end, it grows with 1 / density, such that a lone particle has its volume.
    double weightAt(double density) const
    {
        return density < _fullDensity ? 1 + _gain * (_fullDensity / density - 1) : 1;
    }

    /// A kernel's value where a lone particle has its volume, or near its end where it does not reach so far.
    static double ownValue(double reach);

private:
    double _value, _level;
    double _fullDensity = 0, _gain = 0;
};

}  // namespace tavrix::detail
