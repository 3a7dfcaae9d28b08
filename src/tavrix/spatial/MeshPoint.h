#pragma once

#include <tavrix/foundation/Vector3.h>

namespace tavrix
{

/// A point on a mesh, and how far it is from what was asked about.
struct MeshPoint
{
    /// The face that the point lies on.
    uint32 face;
    /// From what was asked about: of a ray in lengths of its direction, else in units of space.
    double distance;
    Vector3D barycentric;  ///< the weights of the face's corners, not below 0; their sum is 1
    /// Where it is, in the mesh's coordinates.
    Vector3D position;
};

}  // namespace tavrix
