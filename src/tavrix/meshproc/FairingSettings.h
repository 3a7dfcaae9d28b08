#pragma once

#include <tavrix/foundation/Optional.h>
#include <tavrix/platform/Types.h>

namespace tavrix
{

/// How a surface is smoothed.
struct FairingSettings
{
    /// How much: as by so many passes that move every vertex half the way to its neighbours' average, and as
    /// many that give back what these took from the broad shape. Bumps narrower than some
    /// edge sqrt(passes) go; the same smoothness on edges half as long takes four times the passes.
    uint32 passes = 10;
    /// Where the surface is found to bend sharply once it is smoothed by so few, at rims and edges, that is
    /// all it gets.
    Optional<uint32> passesAtBends = {};
    Optional<double> farthest = {};  ///< no vertex is smoothed away by more than that
    uint32 threadCount = 1;          ///< the result is the same for each
};

}  // namespace tavrix
