#pragma once

#include <tavrix/fields/detail/BallSplat.h>
#include <tavrix/foundation/detail/Polling.h>
#include <tavrix/reconstruction/detail/BlockShare.h>
#include <tavrix/reconstruction/detail/EvenFilling.h>
#include <tavrix/reconstruction/detail/ParticleBlocks.h>

namespace tavrix::detail
{

/// Gives every particle its factor by the density around it (see EvenFilling). Block by block, linear in the
/// pairs of neighbours, with four bytes a particle; the same for every thread count. Ranks weigh the
/// particles in their own blocks and tell one another. False when the polling stopped it.
bool weighParticles(ParticleBlocks<WeightedBallKernel>& blocks, const WeightedBallKernel& kernel,
                    const EvenFilling& filling, const BlockShare& share, uint32 threadCount,
                    Polling& polling);

}  // namespace tavrix::detail
