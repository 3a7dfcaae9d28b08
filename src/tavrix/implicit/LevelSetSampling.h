#pragma once

#include <tavrix/fields/GridFit.h>
#include <tavrix/implicit/ImplicitSurface3Regular.h>

namespace tavrix
{

/// What these functions sample and change.
using LevelSet = ImplicitSurface3Regular<float>;

/// How far from a surface distances are needed, in units of space.
struct LevelSetExtent
{
    /// Between neighbouring nodes.
    double spacing;
    double outermost = 0;  ///< how far outwards later surfaces reach: the grid's margin
    double farthest = 0;   ///< their largest distance from the sampled surface, on either side

    /// For the surface moved outwards by the offset (inwards below 0), with a wall of that thickness.
    TX_GEOMETRY_API static LevelSetExtent forOffset(double spacing, double offset, double wall = 0);
};

/// A grid with nodes at integer multiples of the spacing, and the width of the band of distances on it; nodes
/// beyond have the default value.
struct LevelSetPlan
{
    /// The nodes.
    GridFit grid;
    Box3D box;    ///< half a cell smaller than the nodes', which no rounding makes one of more cells
    double band;  ///< in spacings: see bandFor

    /// Bytes that sampling, sweeping and extracting take at most.
    double bytes() const { return grid.nodeCount() * bytesPerNode; }
    /// What a node is reckoned at: a sample of four bytes, and as much again.
    static constexpr double bytesPerNode = 8;
};

/// Width of the band of distances, in spacings: four beyond later surfaces, 3 without any, and at most the
/// box's diagonal.
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

/// Recomputes distances (ImplicitSurface3Regular::redistance) in a band given in separations.
TX_GEOMETRY_API void redistanceBand(LevelSet& surface, double separations, uint32 threadCount = 1,
                                    CancelCallback callback = nullptr);
/// Widens the band of distances (ImplicitSurface3Regular::widenBand) to one given in separations.
TX_GEOMETRY_API void widenBandTo(LevelSet& surface, double separations, uint32 threadCount = 1,
                                 CancelCallback callback = nullptr);

/// Pads the grid with `nodes` layers on every side, of plus or minus the default value by the nearest node's
/// sign. One separation for all axes.
TX_GEOMETRY_API LevelSet grownGrid(const LevelSet& surface, uint32 nodes);

/// Whether the inside reaches the grid's border, so that the surface would be open there.
TX_GEOMETRY_API bool reachesBorder(const LevelSet& surface);
/// Pads the grid with a layer of outside nodes, whose samples are the magnitudes of the nearest nodes': a
/// surface that reaches the border is closed half a separation beyond it. One separation for all axes.
TX_GEOMETRY_API LevelSet cappedGrid(const LevelSet& surface);

/// Offsets the surface outwards, or inwards by a negative distance. Returns the greatest depth inside before:
/// an offset of minus that or less leaves nothing.
TX_GEOMETRY_API double offsetOutwards(LevelSet& surface, double distance);

/// Hollows the solid out to a wall of the given thickness. Returns the greatest depth inside before: a wall
/// at least as thick leaves no cavity.
TX_GEOMETRY_API double hollowOut(LevelSet& surface, double thickness);

}  // namespace tavrix
