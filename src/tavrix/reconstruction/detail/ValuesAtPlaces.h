#pragma once

#include <vector>

#include <tavrix/foundation/CancelCallback.h>
#include <tavrix/foundation/detail/RankExchange.h>
#include <tavrix/particles/NeighbourGrid.h>
#include <tavrix/reconstruction/detail/ParticleDeal.h>

namespace tavrix::detail
{

/// Carries quantities of particles to places (interpolateAtPlaces), whichever ranks have these and those. The
/// places of a cell, whose side is the reach, are looked at by the rank that owns the block around its
/// middle, and particles go to all ranks with a block within one and a half reaches: once for their
/// positions, and for every quantity. The ranks must outlive it. Calls are collective; a rank takes what its
/// blocks take.
class ValuesAtPlaces
{
public:
    ValuesAtPlaces(RankGroup& ranks, const ParticleDeal& deal, const ParticleShare& share,
                   const Array<Vector3D>& places, double reach, uint32 threadCount);

    /// The values at this rank's places; of those that it has for the particles of its share. They mean
    /// nothing once the callback has stopped the work.
    Array<Vector3F> interpolate(const Array<Vector3F>& values, CancelCallback callback) const;

private:
    RankGroup& _ranks;
    const double _reach;
    const uint32 _threadCount;
    Array<uint32> _homes;         ///< the ranks that look at this rank's places
    Array<Vector3D> _places;      ///< that this rank looks at
    std::vector<uint32> _counts;  ///< how many of these are each rank's
    Routes _particles;            ///< to the ranks to which they matter
    NeighbourGrid _grid;          ///< of the particles near the places
};

}  // namespace tavrix::detail
