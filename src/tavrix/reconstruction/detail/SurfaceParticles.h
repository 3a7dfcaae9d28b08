#pragma once

#include <vector>

#include <tavrix/foundation/RankGroup.h>
#include <tavrix/reconstruction/detail/ParticleDeal.h>

namespace tavrix::detail
{

/// Brings what the first rank needs of all ranks' particles to carry quantities to places that it alone has:
/// the particles within reach of them, a part of all where the places are a surface. Each rank picks its own
/// once, by place, and then sends one array after the other.
class SurfaceParticles
{
public:
    /// Picks those of the share that may lie closer than the reach to the cells, of that side, in which the
    /// first rank has places. Collective.
    SurfaceParticles(RankGroup& ranks, const ParticleShare& share, const Array<Vector3D>& places,
                     double reach);

    /// The values of the particles that were picked, in the order of their numbers; at the first rank, and
    /// none elsewhere. Collective.
    /// @{
    Array<Vector3F> gather(const Array<Vector3F>& values) const;
    Array<float> gather(const Array<float>& values) const;
    /// @}

private:
    RankGroup& _ranks;
    std::vector<uint32> _picked;
};

}  // namespace tavrix::detail
