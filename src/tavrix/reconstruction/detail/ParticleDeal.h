#pragma once

#include <tavrix/fields/detail/EllipsoidSplat.h>
#include <tavrix/foundation/Array.h>
#include <tavrix/foundation/Optional.h>
#include <tavrix/foundation/Vector3.h>
#include <tavrix/reconstruction/detail/BlockOwners.h>

// How particles come to the ranks that need them.

namespace tavrix::detail
{

/// A particle away from the rank that brought it.
struct DealtParticle
{
    Vector3F position;
    uint32 number;  ///< among those of all ranks
};

/// Calls use(n) for the numbers below count that are not among those left out, which ascend.
template <class Use>
void forEachKept(uint32 count, const Array<uint32>& leftOut, Use use)
{
    for (uint32 n = 0, next = 0; n < count; ++n)
        if (next < leftOut.size() && leftOut[next] == n)
            ++next;
        else
            use(n);
}

/// The cell of a lattice in which a particle lies that it covers.
inline std::array<uint32, 3> cellAt(const BlockLattice& lattice, const Vector3F& p)
{
    return {lattice.cellAlong(0, p.x), lattice.cellAlong(1, p.y), lattice.cellAlong(2, p.z)};
}

/// Particles dealt out among the ranks, and who owns which blocks since.
struct ParticleDeal
{
    BlockLattice lattice;
    CurveOwners owners;
    Array<DealtParticle> particles;  ///< that are near the blocks of this rank, by number
};

/// A rank's share of the particles: those that are not left out take part.
struct ParticleShare
{
    const Array<Vector3F>& positions;
    const Array<uint32>& leftOut;
    uint32 firstNumber;
};

/// Shares the lattice's blocks out by equal work, and brings each particle to all ranks that own a block
/// within the margin around it. Nothing where no lattice of the spacing covers them. Collective; linear in
/// what a rank has and gets.
Optional<ParticleDeal> dealOut(RankGroup& ranks, const ParticleShare& share, double spacing, double margin);

/// The numbers of the particles of a share that are not finite or have fewer than `least` others closer than
/// the radius, of whichever rank. Collective.
Array<uint32> findStrays(RankGroup& ranks, const ParticleShare& share, double spacing, double radius,
                         uint32 least, uint32 threadCount);

/// Brings the ellipsoids to the ranks whose blocks they reach; in the order that they have among all: by the
/// cells of that size in which their particles were, and by number. fitted[n] is that of the particle
/// fittedFor[n] of the deal; those at home at this rank count. Nothing where no lattice covers them.
/// Collective.
Optional<Array<Ellipsoid>> dealEllipsoids(RankGroup& ranks, const ParticleDeal& deal,
                                          const Array<Ellipsoid>& fitted, const Array<uint32>& fittedFor,
                                          double cellSize, uint32 threadCount);

}  // namespace tavrix::detail
