#pragma once

#include <cstddef>

#include <tavrix/fields/detail/BallSplat.h>
#include <tavrix/fields/detail/EllipsoidSplat.h>

// A lower bound of a sum of kernels around a place x, from sums at x alone. With d = x - p and a quadratic
// form q = d^T A d (for balls A = 1 / R^2) a kernel (1 - q)^3 is convex in q, also where it ends, so that at
// x + h, where q grows by 2 h^T A d + h^T A h, it is at least
//
//   (1 - q)^3 - (2 h^T A d + h^T A h) 3 (1 - q)^2.
//
// Summed over the particles the second term is small where these lie evenly around x.

namespace tavrix::detail
{

/// The sums at eight nodes of a row.
struct BoundSums
{
    float value[8];     ///< of (1 - q)^3
    float weight[8];    ///< of w = 3 (1 - q)^2, times the sum of the absolute entries of A
    float slope[3][8];  ///< of w A d
};

/// A coarse lattice of sums, z fastest.
struct BoundLattice
{
    static constexpr uint32 mostNodes = 24;  ///< along an axis

    double origin[3];
    double reciprocal;  ///< 1 / the distance of nodes, the unit of length of the sums
    uint32 nodes;       ///< along each axis
    uint32 rowLength;   ///< of sums
    BoundSums* sums;
};

TX_DECLARE_KERNEL(
    /// Adds balls whose kernels end at `reach` times their radius, or at `reach`; or ellipsoids. They are
    /// worth 1, their weight, or their amplitude.
    void addToBounds(const BoundLattice& lattice, float reach, const Particle* particles, std::size_t count);
    void addToBounds(const BoundLattice& lattice, float reach, const WeightedBall* balls, std::size_t count);
    void addToBounds(const BoundLattice& lattice, const Ellipsoid* ellipsoids, std::size_t count);)

}  // namespace tavrix::detail
