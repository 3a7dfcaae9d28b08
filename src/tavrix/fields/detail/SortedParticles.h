#pragma once

#include <vector>

#include <tavrix/fields/detail/ParticleSplat.h>
#include <tavrix/fields/GridDescription3.h>
#include <tavrix/foundation/Array.h>

namespace tavrix::detail
{

/// The nodes of a grid as the particle kernels need them, in double precision whatever the grid's own.
struct Lattice
{
    uint32 size[3];
    Array<double> nodes[3];  ///< coordinates per axis
    double reciprocal[3];
    double largestSeparation;

    template <class Coord>
    explicit Lattice(const GridDescription3<Coord>& grid);

    /// The cell along an axis, clamped to the lattice.
    uint32 clampedCell(uint32 axis, double coordinate) const
    {
        const double cell = (coordinate - nodes[axis][0]) * reciprocal[axis];
        return cell > 0 ? (cell < size[axis] - 1 ? static_cast<uint32>(cell) : size[axis] - 1) : 0;
    }
};

/// A box of nodes, half open.
struct NodeBox
{
    uint32 low[3], high[3];
};

/// A run of the sorted particles, and the nodes that they may touch.
struct ParticleGroup
{
    uint32 first, last;
    NodeBox nodes;
};

/// The particles that can touch the lattice (finite, radius above 0, within reach), sorted by the monoindex
/// of their cell and then by index: a linear radix sort, and the same order for every thread count.
Array<Particle> sortParticles(const Lattice& lattice, const Array<Vector3F>& positions,
                              const Array<float>& radii, float kernelReach, uint32 threadCount);

/// Cuts sorted particles into threadCount runs of equal length, the last taking the remainder. Each may touch
/// the nodes around its box: snapped outward to the lattice, widened by round(margin / separation) + 2 nodes.
std::vector<ParticleGroup> groupParticles(const Lattice& lattice, const Array<Particle>& particles,
                                          float margin, uint32 threadCount);

}  // namespace tavrix::detail
