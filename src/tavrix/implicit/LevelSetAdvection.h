#pragma once

#include <tavrix/fields/FieldAdvection.h>
#include <tavrix/implicit/LevelSetSampling.h>

namespace tavrix
{

/// How a surface is carried along.
struct LevelSetAdvectionSettings : AdvectionSettings
{
    /// Distances are calculated anew whenever something has gone so many separations, all axes summed up, and
    /// at the end. Rarely blurs thin sheets, for samples get steep or flat there; often moves the surface.
    double redistanceAfter = 30;
};

/// Carries a surface along with a flow: advances its distances as `advect` does those of any field, and
/// calculates them anew from time to time (redistanceBand).
///
/// Distances that are cut to the band are constant elsewhere, so work is done around the surface alone;
/// redistancing goes over the whole grid. The grid stays where it is: grownGrid makes room. What leaves it is
/// gone, and what flows in is what is at its border. A band of three separations is wide enough. Volume is
/// not kept where parts get thinner than some two separations. The same bytes for every thread count.
TX_GEOMETRY_API AdvectionReport advect(LevelSet& surface, const Velocity3& velocity, double begin, double end,
                                       const LevelSetAdvectionSettings& settings = {});

}  // namespace tavrix
