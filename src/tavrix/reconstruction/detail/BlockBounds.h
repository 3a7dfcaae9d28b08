#pragma once

#include <tavrix/reconstruction/detail/BlockSamples.h>
#include <tavrix/reconstruction/detail/LowerBoundKernel.h>

namespace tavrix::detail
{

/// Tells early, from a fraction of the samples, that a block cannot cross the level. A bound that shows it is
/// strict, whatever rounding does; that none does says nothing.
class BlockBounds
{
public:
    BlockBounds(const BallKernel& kernel, const BlockLattice& lattice, float level);
    BlockBounds(const WeightedBallKernel& kernel, const BlockLattice& lattice, float level);
    BlockBounds(const EllipsoidKernel& kernel, const BlockLattice& lattice, float level);

    /// Whether the field of these particles, in any order, is below the level in the whole block. For
    /// ellipsoids nothing is shown.
    /// @{
    bool isOutside(const BlockIndex& block, const Array<Particle>& particles) const;
    bool isOutside(const BlockIndex& block, const Array<WeightedBall>& balls) const;
    bool isOutside(const BlockIndex&, const Array<Ellipsoid>&) const { return false; }
    /// @}
    /// Whether it is above the level in the whole block. Particles lie at most so many nodes around it.
    /// @{
    bool isInside(const BlockIndex& block, const Array<Particle>& particles, const uint32 (&reach)[3]);
    bool isInside(const BlockIndex& block, const Array<WeightedBall>& balls, const uint32 (&reach)[3]);
    bool isInside(const BlockIndex& block, const Array<Ellipsoid>& ellipsoids, const uint32 (&reach)[3]);
    /// @}

private:
    /// Sums over kernels: of their integrals, and of what the bound loses.
    struct Amounts
    {
        double value = 0, loss = 0;

        void add(double amplitude, double cubedReach, double entries);
    };

    template <class Ball, class ReachOf, class WeightOf>
    bool isBelow(const BlockIndex& block, const Array<Ball>& balls, ReachOf reachOf, WeightOf weightOf) const;
    template <class Ball>
    bool isAbove(const BlockIndex& block, const Array<Ball>& balls, const Amounts& amounts,
                 const uint32 (&reach)[3]);
    uint32 chooseGroup(const Amounts& amounts, const uint32 (&reach)[3]) const;
    BoundLattice latticeOver(const BlockIndex& block, uint32 group);
    bool areAbove(const BoundLattice& lattice, uint32 group) const;

    const BlockLattice* _lattice;
    SplatMerge _merge;
    float _reach, _scale;  ///< of balls
    float _level;
    std::vector<BoundSums> _sums;
};

}  // namespace tavrix::detail
