#pragma once

#include <tavrix/fields/detail/SplatTarget.h>
#include <tavrix/foundation/detail/Kernel.h>

namespace tavrix::detail
{

struct LatticeSteps;

/// A kernel amplitude (1 - q)^3, where the quadratic form q of the offset from the centre is below 1, and 0
/// elsewhere. `extent` is half the size of the box around that ellipsoid.
struct Ellipsoid
{
    float x, y, z;
    float amplitude;
    float xx, xy, xz, yy, yz, zz;  ///< the form; positive definite
    float extent[3];

    /// The ball of radius `reach`.
    static Ellipsoid ball(float x, float y, float z, float reach, float amplitude);
    /// Computes the extent from the form: the roots of the diagonal of its inverse.
    void fitExtent();
};

/// Splats ellipsoids, merged by maximum or by sum.
struct EllipsoidKernel
{
    using Particle = Ellipsoid;

    SplatMerge merge;

    /// Whether the amplitude is a number other than 0, and all others are finite, the extents above 0.
    bool isUsable(const Ellipsoid& ellipsoid) const;
    /// Lattice nodes along an axis between the centre and the end of the extent.
    double nodesReached(const LatticeSteps& lattice, const Ellipsoid& ellipsoid, uint32 axis) const;
    /// Adds the ellipsoids to the target, in their order. They are usable, and no further from the lattice
    /// than they reach.
    template <class Value>
    void splat(const SplatTarget<Value>& target, const Ellipsoid* ellipsoids, std::size_t count) const;
};

TX_DECLARE_KERNEL(template <class Value> void splat(const SplatTarget<Value>& target, SplatMerge merge,
                                                    const Ellipsoid* ellipsoids, std::size_t count);)

}  // namespace tavrix::detail
