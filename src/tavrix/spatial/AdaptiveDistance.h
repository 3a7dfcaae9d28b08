#pragma once

#include <tavrix/fields/ScalarField3Octree.h>

namespace tavrix
{

class MeshCollider;

/// How the distances from a mesh are sampled.
struct AdaptiveDistanceSettings
{
    double tolerance = 0;               ///< what a distance may be wrong by, above 0, in units of space
    bool isSigned = true;               ///< negative inside; the mesh has to be closed
    uint32 mostCells = 1u << 26;        ///< where sampling gives up
    uint32 threadCount = 1;             ///< the cells are the same for each
    CancelCallback callback = nullptr;  ///< polled every few milliseconds
};

/// Samples the distances from a mesh in a box, as an octree that tells them within the tolerance and a
/// rounding of single precision, in a fraction of the time of MeshCollider::signedDistance.
///
/// The bound is proven in every cell, from the fact that distances differ by no more than their points do: a
/// distance known at q is at most |x - q| more at x, which is convex in x and so below what interpolates it
/// from the corners; points q on both sides of the cell, further away where the surface is even, bound what
/// the cell tells from above and below. Cells are small along sharp edges and halfway between parts of the
/// surface, where distances bend, down to 1.15 tolerances there; without signs, along all the surface.
///
/// BadSettings as well for a collider that finds nothing, for a tolerance below a 500,000th of the box's
/// longest side, and for signs where an edge has not as many faces on the one side as on the other. Some ten
/// to forty microseconds a cell on one thread.
TX_GEOMETRY_API OctreeStatus sampleDistance(const MeshCollider& mesh, const Box3D& box,
                                            const AdaptiveDistanceSettings& settings,
                                            ScalarField3Octree<float>& field);

/// The signed distances of points within a tolerance, as MeshCollider::signedDistances tells them exactly:
/// from sampled distances over the points where there are so many that the sampling pays, and the mesh has an
/// inside; otherwise, and for points that are not finite, exactly. False when the callback stopped it; the
/// array is empty then. The same for every thread count.
TX_GEOMETRY_API bool signedDistances(const MeshCollider& mesh, std::span<const Vector3D> points,
                                     double tolerance, Array<double>& distances, uint32 threadCount = 1,
                                     CancelCallback callback = nullptr);

}  // namespace tavrix
