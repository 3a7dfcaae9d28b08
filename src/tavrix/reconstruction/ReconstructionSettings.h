#pragma once

#include <tavrix/fields/AnisotropySettings.h>
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

/// What matters more, in surfaces whose settings are not given one by one.
enum class SurfaceQuality
{
    Normal,  ///< the particles' grain is taken off, drops and edges keep their shape
    Smooth   ///< as smooth as a liquid: what is narrower than some five particles is evened out
};

/// How a surface is made of particles. What is absent has a default that fits the particles; settledFor fills
/// it in, which lets the frames of a sequence share it.
struct ReconstructionSettings
{
    SurfaceQuality quality = SurfaceQuality::Normal;  ///< what the other defaults aim at
    /// What a particle adds to the field.
    SurfaceKernel kernel = SurfaceKernel::Metaball;
    Optional<double> radius = {};           ///< of a particle; half their spacing
    Optional<double> particleSpacing = {};  ///< of particles that fill space, each its cube; two radii
    Optional<double> spacing = {};          ///< of the lattice; half the radius
    /// How far kernels reach, 0 to 100: 60; 80 for smooth surfaces and for ellipsoids.
    Optional<double> influence = {};
    /// Where the surface lies, as a factor of the field's value where it encloses the particles' volume; for
    /// smooth balls, where these have the particles' radius. 1.
    double level = 1;
    /// Whether the level is chosen such that the surface encloses just the particles' volume; not for normal
    /// quality, but for smooth.
    Optional<bool> matchVolume = {};

    uint32 leastNeighbours = 0;  ///< particles with fewer others within two radii are left out
    bool cleanUp = true;         ///< merge coincident vertices and drop faces without area
    /// Passes of fairPositions. As many as take the particles' grain off a lattice of this spacing; none for
    /// smooth balls.
    Optional<uint32> smoothing = {};
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
    /// The shapes of ellipsoids.
    TX_GEOMETRY_API AnisotropySettings anisotropy() const;
    /// What fairPositions gets for passesAtBends.
    TX_GEOMETRY_API uint32 passesAtBends() const;
    /// The field's value where the level is 1, in parts of what it is within an even filling; for smooth
    /// balls it is 1 at a particle.
    TX_GEOMETRY_API float valueAtLevelOne() const;
};

/// The settings with everything filled in. The radius stays absent when it must be estimated and no two
/// particles lie apart.
TX_GEOMETRY_API ReconstructionSettings settledFor(const ReconstructionSettings& settings,
                                                  const Array<Vector3F>& positions);

}  // namespace tavrix
