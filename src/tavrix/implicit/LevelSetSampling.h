#pragma once

#include <tavrix/fields/GridFit.h>
#include <tavrix/implicit/ImplicitSurface3Regular.h>

namespace tavrix
{

using LevelSet = ImplicitSurface3Regular<float>;

/// What distances around a surface are wanted for, in units of space.
struct LevelSetExtent
{
    double spacing;
    double outermost = 0;  ///< how far outside the surfaces to come go: the grid has room for them
    double farthest = 0;   ///< how far from the sampled surface, on either side, they lie

    /// For the surface moved outwards by the offset (inwards below 0), with a wall of that thickness.
    TX_GEOMETRY_API static LevelSetExtent forOffset(double spacing, double offset, double wall = 0);
};

/// A grid with nodes at whole multiples of the spacing, and how far from the surface its samples are to be
/// distances: the default value is that of all others.
struct LevelSetPlan
{
    GridFit grid;
    Box3D box;    ///< half a cell smaller than the nodes', which no rounding makes one of more cells
    double band;  ///< in spacings: see bandFor

    /// Bytes that sampling, sweeping and extracting take at most.
    double bytes() const { return grid.nodeCount() * bytesPerNode; }
    static constexpr double bytesPerNode = 8;
};

/// How far from the surface samples on a grid over the box must be distances, in spacings: four beyond the
/// surfaces to come, 3 where there are none, and no further than the box's diagonal.
TX_GEOMETRY_API double bandFor(const LevelSetExtent& extent, const Box3D& grid);

/// The plan around what lies in the box. A separation above 0 and a finite box.
TX_GEOMETRY_API LevelSetPlan planLevelSet(const Box3D& box, const LevelSetExtent& extent);

/// Samples a mesh by the plan, as ImplicitSurface3Regular::init does: exact distances as far out as is
/// affordable, 3 to 10 spacings, carried on to the plan's band by sweeping. Returns how far they are exact,
/// in spacings; 0, and leaves no nodes, when the callback stopped the work. A signed mesh that is inside out
/// as a whole is taken the other way round; `wasTurned` receives whether. The same bytes for every thread
/// count.
TX_GEOMETRY_API uint32 sampleMesh(LevelSet& surface, const Mesh& mesh, const LevelSetPlan& plan,
                                  IMPLICIT_SURFACE_TYPE type, uint32 threadCount = 1,
                                  CancelCallback callback = nullptr, bool* wasTurned = nullptr);

/// The same of the union of the particles' spheres, all of one radius.
TX_GEOMETRY_API uint32 sampleParticles(LevelSet& surface, const Array<Vector3F>& positions, double radius,
                                       const LevelSetPlan& plan, uint32 threadCount = 1,
                                       CancelCallback callback = nullptr);

/// Makes the samples distances to the surface again (ImplicitSurface3Regular::redistance), in a band of so
/// many separations.
TX_GEOMETRY_API void redistanceBand(LevelSet& surface, double separations, uint32 threadCount = 1);
/// Carries distances on to a band of so many separations (ImplicitSurface3Regular::widenBand).
TX_GEOMETRY_API void widenBandTo(LevelSet& surface, double separations, uint32 threadCount = 1);

/// The surface on a grid of so many nodes more on every side, which are far, on the side of the node next to
/// them. One separation for all axes.
TX_GEOMETRY_API LevelSet grownGrid(const LevelSet& surface, uint32 nodes);

/// Moves the surface outwards, by a negative distance inwards. Returns how deep the deepest place lay inside
/// before: at minus that distance, or below, nothing is left.
TX_GEOMETRY_API double offsetOutwards(LevelSet& surface, double distance);

/// Leaves of the solid the wall that is no deeper than the thickness. Returns how deep its deepest place lay:
/// at that thickness, or above, there is no cavity.
TX_GEOMETRY_API double hollowOut(LevelSet& surface, double thickness);

}  // namespace tavrix
