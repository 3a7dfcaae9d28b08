#pragma once

#include <tavrix/foundation/Array.h>
#include <tavrix/foundation/Vector3.h>

#include "SurfaceOptions.h"

namespace tavrix::tool
{

/// The numbers of a run, with everything settled that the options left open. The frames of a sequence share
/// them, so that nothing jumps from one to the next.
struct SurfaceSettings
{
    float radius;
    bool radiusIsEstimated;
    FieldKind field;
    float influence;  ///< of metaballs and anisotropic kernels, 0 to 100
    float level;      ///< for metaballs and anisotropic kernels, 1 is where a lone particle has its radius
    double spacing;
    uint32 threads;

    /// How far a particle reaches in the field: 2 radii in a distance field, else 1.2 to 5 by the influence.
    float reach() const;
    /// The field's value where the level is 1. A lone anisotropic kernel has (1 - (radius / reach)^2)^3 at
    /// its radius.
    float valueAtOne() const;
};

/// Settles the options for some particles. Level: 1; in a distance field 0.05, 1.6 radii from a particle, so
/// that neighbours two radii apart leave no holes. Influence: 60, and 100 for anisotropic kernels, which are
/// flat where the others would swell. Throws Failure when the radius cannot be estimated.
SurfaceSettings settle(const SurfaceOptions& options, const Array<Vector3F>& positions);

}  // namespace tavrix::tool
