#pragma once

#include <tavrix/foundation/Array.h>
#include <tavrix/foundation/Optional.h>
#include <tavrix/foundation/Vector3.h>
#include <tavrix/platform/Export.h>

namespace tavrix
{

/// What a particle adds to the field whose level is the surface.
enum class SurfaceKernel
{
    Metaball,    ///< metaballs that sum up: ScalarField3_base::setMetaballField
    Distance,    ///< smooth balls, of which the largest counts: setDistanceField
    Anisotropic  ///< ellipsoids along the liquid's surface: setAnisotropyDistanceField
};

/// How a surface is made of particles. What is absent has a default that fits the particles; settledFor fills
/// it in, which lets the frames of a sequence share it.
struct ReconstructionSettings
{
    /// What a particle adds to the field.
    SurfaceKernel kernel = SurfaceKernel::Metaball;
    Optional<double> radius = {};     ///< of a particle; half the spacing that estimateSpacing finds
    Optional<double> spacing = {};    ///< of the lattice; half the radius
    Optional<double> influence = {};  ///< how far kernels reach, 0 to 100; 60, and 100 for anisotropic ones
    /// Where the surface lies: 1 is where a lone particle has its radius (metaballs, ellipsoids) or its
    /// centre (smooth balls). 1; 0.05 for smooth balls, so that neighbours two radii apart leave no holes.
    Optional<double> level = {};

    uint32 leastNeighbours = 0;  ///< particles with fewer others within two radii are left out
    bool cleanUp = true;         ///< merge coincident vertices and drop faces without area
    uint32 smoothing = 0;        ///< passes that move every vertex half the way to its neighbours' average
    Optional<double> weldTolerance = {};  ///< join vertices nearer than that along every axis
    bool fillCavities = false;            ///< remove sealed inner surfaces (fillCavities)
    /// Leave this part of the faces, 0 to 1, those that say most about the surface: see decimateMesh.
    Optional<double> decimation = {};
    /// Whether the mesh gets normals.
    bool normals = true;

    uint32 threadCount = 0;  ///< 0: one a processor
    Optional<uint64> memory =
        {};  ///< bytes that the work may take; refused beforehand when it would take more

    /// How far a particle reaches in the field: 2 radii for smooth balls, else 1.2 to 5 by the influence.
    /// Radius and influence must be there, as after settledFor.
    TX_GEOMETRY_API float reach() const;
    /// The field's value where the level is 1.
    TX_GEOMETRY_API float valueAtLevelOne() const;
};

/// The settings with everything filled in. The radius stays absent when it must be estimated and no two
/// particles lie apart.
TX_GEOMETRY_API ReconstructionSettings settledFor(const ReconstructionSettings& settings,
                                                  const Array<Vector3F>& positions);

}  // namespace tavrix
