#pragma once

#include <vector>

#include <tavrix/foundation/Array.h>
#include <tavrix/foundation/Optional.h>
#include <tavrix/foundation/Vector3.h>
#include <tavrix/platform/Export.h>
#include <tavrix/reconstruction/ReconstructionSettings.h>

namespace tavrix
{

/// What reconstructSurface would give so many ranks to do.
struct RankLoads
{
    uint32 ranks;        ///< how many
    uint64 dealt;        ///< particles that all ranks get, for their blocks and what is around these
    uint64 mostDealt;    ///< that one rank gets
    uint64 mostBlocks;   ///< of the lattice that one rank has to look at
    double mostSurface;  ///< the part of the surface that one rank makes, as far as particles tell
    /// The largest load of a rank over the mean, by which blocks are shared out; from 1 on.
    double imbalance;
};

/// What a surface over ranks would be made of.
struct RankForecast
{
    ReconstructionSettings settings;  ///< with everything filled in
    uint32 particles;                 ///< that are finite
    uint64 blocks;                    ///< of the lattice that particles reach
    double vertices;  ///< of the mesh, reckoned from a sample of the blocks; faces are twice as many
    std::vector<RankLoads> loads;  ///< one a number of ranks
};

/// Forecasts the work of reconstructSurface for each number of ranks, from the particles themselves: shares
/// out their blocks, and makes the surface in a few hundred of these. Strays take part, and ellipsoids count
/// as metaballs of their reach.
///
/// Nothing where no particle is finite, the radius neither given nor to be estimated, or no lattice covers
/// them. Takes about 40 bytes a particle; linear in the particles, and in the buckets of eight cells a side
/// for each number of ranks. The same for every thread count.
TX_GEOMETRY_API Optional<RankForecast> forecastRanks(const Array<Vector3F>& positions,
                                                     const ReconstructionSettings& settings,
                                                     const std::vector<uint32>& rankCounts);

}  // namespace tavrix
