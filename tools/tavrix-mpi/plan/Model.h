#pragma once

#include <tavrix/reconstruction/RankForecast.h>

namespace tavrix::tool
{

/// What a run is likely to take; docs/machines.md has the model, and where its numbers come from.
struct RankCosts
{
    double bytes;          ///< of the rank that takes the most
    double bytesGathered;  ///< of the first rank, where that is to get the whole mesh
    double sent;           ///< bytes between all ranks, while the mesh stays in parts
    double seconds;        ///< on processors and a network like those of the model
};

/// The costs with so many threads a rank.
RankCosts costsOf(const RankForecast& forecast, const RankLoads& loads, uint32 threads);

/// The bytes that a rank takes at least to read and deal out its share of so many particles.
double leastBytes(uint64 particles, uint32 ranks);
/// The fewest ranks for which that is within the bytes; 0 where no number is.
uint64 ranksWithin(uint64 particles, double bytes);

}  // namespace tavrix::tool
