#include <tavrix/reconstruction/detail/BlockBounds.h>

#include <algorithm>
#include <cmath>

namespace tavrix::detail
{

namespace
{

/// What a bound must pass a level by, as a factor, so that rounding of either cannot matter.
constexpr float clearance = 1.001f;

/// Parts of the terms of a bound that rounding may make up.
constexpr float roundingOfSums = 1e-4f;

/// Half the distance of the outermost nodes of a group along an axis, in parts of the distance of groups.
constexpr double halfWidth(uint32 group) { return (group - 1) / 2.0 / group; }

}  // namespace

BlockBounds::BlockBounds(const BallKernel& kernel, const BlockLattice& lattice, float level)
    : _lattice(&lattice), _merge(kernel.merge), _reach(kernel.reach), _scale(kernel.scale), _level(level)
{
}

BlockBounds::BlockBounds(const WeightedBallKernel& kernel, const BlockLattice& lattice, float level)
    : _lattice(&lattice), _merge(SplatMerge::Sum), _reach(kernel.reach), _scale(kernel.scale), _level(level)
{
}

BlockBounds::BlockBounds(const EllipsoidKernel& kernel, const BlockLattice& lattice, float level)
    : _lattice(&lattice), _merge(kernel.merge), _reach(1), _scale(1), _level(level)
{
}

/// Whether balls of that reach and weight, which may lie in any order, stay below the level in the block.
template <class Ball, class ReachOf, class WeightOf>
bool BlockBounds::isBelow(const BlockIndex& block, const Array<Ball>& balls, ReachOf reachOf,
                          WeightOf weightOf) const
{
    double low[3], high[3];
    for (uint32 axis = 0; axis < 3; ++axis)
    {
        const auto first = static_cast<double>(_lattice->nodeOf(block, axis));
        low[axis] = first * _lattice->spacing;
        high[axis] = (first + blockEdge) * _lattice->spacing;
    }
    const bool isSum = _merge == SplatMerge::Sum;
    double highest = 0;
    for (const Ball& ball : balls)
    {
        const double place[] = {ball.x, ball.y, ball.z};
        double squared = 0;  // distance to the block
        for (uint32 axis = 0; axis < 3; ++axis)
        {
            const double d = std::max({low[axis] - place[axis], place[axis] - high[axis], 0.0});
            squared += d * d;
        }
        const double reach = reachOf(ball);
        const double t = std::max(1 - squared / (reach * reach), 0.0), value = weightOf(ball) * t * t * t;
        highest = isSum ? highest + value : std::max(highest, value);
        if (highest * clearance >= _level) return false;
    }
    return true;
}

bool BlockBounds::isOutside(const BlockIndex& block, const Array<Particle>& particles) const
{
    return _merge != SplatMerge::Depth &&
           isBelow(
               block, particles, [this](const Particle& p) { return double{p.r} * _reach; },
               [this](const Particle&) { return double{_scale}; });
}

bool BlockBounds::isOutside(const BlockIndex& block, const Array<WeightedBall>& balls) const
{
    return isBelow(
        block, balls, [this](const WeightedBall&) { return double{_reach}; },
        [this](const WeightedBall& ball) { return double{_scale} * ball.weight; });
}

/// A kernel of that amplitude, the third power of its mean reach, and the sum of the absolute entries of its
/// form; with the integrals of (1 - q)^3 and 3 (1 - q)^2 over the unit ball.
void BlockBounds::Amounts::add(double amplitude, double cubedReach, double entries)
{
    constexpr double pi = 3.14159265358979;
    value += amplitude * cubedReach * (64 * pi / 315);
    loss += amplitude * cubedReach * (32 * pi / 35) * entries;
}

/// The edge, in nodes, of the largest groups for which the bound would show it with some room if the kernels
/// lay evenly; 0 when there are none. The larger the groups, the fewer the sums.
uint32 BlockBounds::chooseGroup(const Amounts& amounts, const uint32 (&reach)[3]) const
{
    double volume = 1;
    for (uint32 axis = 0; axis < 3; ++axis) volume *= (blockEdge + 2.0 * reach[axis]) * _lattice->spacing;
    const double value = _scale * amounts.value / volume, fullLoss = _scale * amounts.loss / volume;
    for (uint32 group = 8; group >= 2; --group)
    {
        const double h = halfWidth(group) * group * _lattice->spacing, loss = h * h * fullLoss;
        if (loss < value / 3 && value - loss > 1.65 * _level) return group;
    }
    return 0;
}

/// Empty sums at the middles of the groups.
BoundLattice BlockBounds::latticeOver(const BlockIndex& block, uint32 group)
{
    BoundLattice lattice{};
    lattice.nodes = (blockNodes + group - 1) / group;
    lattice.rowLength = (lattice.nodes + 7) / 8;
    lattice.reciprocal = _lattice->reciprocal[0] / group;
    for (uint32 axis = 0; axis < 3; ++axis)
        lattice.origin[axis] =
            (static_cast<double>(_lattice->nodeOf(block, axis)) + (group - 1) / 2.0) * _lattice->spacing;
    _sums.assign(std::size_t{lattice.nodes} * lattice.nodes * lattice.rowLength, BoundSums{});
    lattice.sums = _sums.data();
    return lattice;
}

/// Whether the bounds around all nodes of the lattice are above the level.
bool BlockBounds::areAbove(const BoundLattice& lattice, uint32 group) const
{
    const auto h = static_cast<float>(halfWidth(group));
    for (std::size_t n = 0; n < _sums.size(); ++n)
        for (uint32 k = 0; k < std::min(lattice.nodes - n % lattice.rowLength * 8, std::size_t{8}); ++k)
        {
            const BoundSums& s = _sums[n];
            const float slope = std::abs(s.slope[0][k]) + std::abs(s.slope[1][k]) + std::abs(s.slope[2][k]);
            const float loss = (2 * h * slope + h * h * s.weight[k]) * (1 + roundingOfSums);
            const float value = s.value[k] * (1 - roundingOfSums);
            if (!(_scale * (value - loss) >= _level * clearance)) return false;
        }
    return true;
}

template <class Ball>
bool BlockBounds::isAbove(const BlockIndex& block, const Array<Ball>& balls, const Amounts& amounts,
                          const uint32 (&reach)[3])
{
    const uint32 group = chooseGroup(amounts, reach);
    if (group == 0) return false;
    const BoundLattice lattice = latticeOver(block, group);
    TX_RUN_KERNEL(addToBounds, lattice, _reach, balls.data(), balls.size());
    return areAbove(lattice, group);
}

bool BlockBounds::isInside(const BlockIndex& block, const Array<Particle>& particles,
                           const uint32 (&reach)[3])
{
    if (_merge != SplatMerge::Sum) return false;
    Amounts amounts;
    for (const Particle& p : particles)
    {
        const double R = double{p.r} * _reach;
        amounts.add(1, R * R * R, 3 / (R * R));
    }
    return isAbove(block, particles, amounts, reach);
}

bool BlockBounds::isInside(const BlockIndex& block, const Array<WeightedBall>& balls,
                           const uint32 (&reach)[3])
{
    const double R = _reach;
    Amounts amounts;
    for (const WeightedBall& ball : balls) amounts.add(ball.weight, R * R * R, 3 / (R * R));
    return isAbove(block, balls, amounts, reach);
}

bool BlockBounds::isInside(const BlockIndex& block, const Array<Ellipsoid>& ellipsoids,
                           const uint32 (&reach)[3])
{
    if (_merge != SplatMerge::Sum) return false;
    Amounts amounts;
    for (const Ellipsoid& e : ellipsoids)
    {
        if (e.amplitude < 0) return false;
        const double determinant = e.xx * (double{e.yy} * e.zz - double{e.yz} * e.yz) -
                                   e.xy * (double{e.xy} * e.zz - double{e.yz} * e.xz) +
                                   e.xz * (double{e.xy} * e.yz - double{e.yy} * e.xz);
        if (!(determinant > 0)) return false;
        amounts.add(e.amplitude, 1 / std::sqrt(determinant),
                    e.xx + e.yy + e.zz + 2 * (std::abs(e.xy) + std::abs(e.xz) + std::abs(e.yz)));
    }
    const uint32 group = chooseGroup(amounts, reach);
    if (group == 0) return false;
    const BoundLattice lattice = latticeOver(block, group);
    TX_RUN_KERNEL(addToBounds, lattice, ellipsoids.data(), ellipsoids.size());
    return areAbove(lattice, group);
}

}  // namespace tavrix::detail
