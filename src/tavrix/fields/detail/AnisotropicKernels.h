#pragma once

#include <optional>
#include <vector>

#include <tavrix/fields/AnisotropySettings.h>
#include <tavrix/fields/detail/EllipsoidSplat.h>
#include <tavrix/fields/detail/NeighbourMomentsKernel.h>
#include <tavrix/foundation/detail/Polling.h>
#include <tavrix/particles/NeighbourGrid.h>

namespace tavrix::detail
{

/// The anisotropic kernels of Yu and Turk (Reconstructing Surfaces of Particle-Based Fluids Using Anisotropic
/// Kernels, ACM Transactions on Graphics 32(1), 2013): for each particle the covariance of its neighbourhood,
/// an ellipsoid from it, and a smoothed centre.
///
/// Two things differ from the paper. Axes are measured against a full neighbourhood, so that no kernel is
/// longer than the plain ball and the liquid's edges do not swell. And a centre is averaged within its
/// ellipsoid, not the ball, so that the surface is not drawn into the liquid.
class AnisotropicKernels
{
public:
    /// Takes the particles that have a finite position and a positive, finite radius.
    AnisotropicKernels(const Array<Vector3F>& positions, const Array<float>& radii,
                       const AnisotropySettings& settings, uint32 threadCount, CancelCallback callback);

    // The steps, to be taken in this order. Each is false when the callback stopped the work.

    /// Sorts the particles into a grid and sums the moments of every neighbourhood, in time linear in the
    /// pairs of neighbours.
    bool measureNeighbourhoods();
    /// Turns moments into ellipsoids, and averages their centres.
    bool fitEllipsoids();
    /// Computes the boxes around the ellipsoids.
    bool fitBoxes();

    const Array<Ellipsoid>& ellipsoids() const { return _ellipsoids; }
    /// Which of the particles that were taken each ellipsoid belongs to. They come by the cells of a grid of
    /// that size, and by number.
    /// @{
    Array<uint32> order() const { return _grid ? _grid->order() : Array<uint32>(); }
    double cellSize() const { return _cellSize; }
    /// @}
    Array<Ellipsoid> takeEllipsoids() { return std::move(_ellipsoids); }

private:
    template <class Task>
    bool forEachNeighbourhood(Task task) const;
    float reachOf(uint32 sorted) const { return _settings.neighbourReach * radiusOf(sorted); }
    float radiusOf(uint32 sorted) const { return _radii[_grid->order()[sorted]]; }
    Ellipsoid fitShape(uint32 sorted) const;
    void moveCenter(Ellipsoid& ellipsoid, const Points& points) const;

    AnisotropySettings _settings;
    uint32 _threadCount;
    mutable Polling _polling;
    Array<Vector3F> _positions;
    Array<float> _radii;
    double _cellSize = 0;
    std::optional<NeighbourGrid> _grid;
    Array<NeighbourMoments> _moments;  ///< of the sorted particles
    Array<Ellipsoid> _ellipsoids;      ///< of the sorted particles
};

}  // namespace tavrix::detail
