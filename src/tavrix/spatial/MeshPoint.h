#pragma once

#include <tavrix/foundation/Vector3.h>

namespace tavrix
{

/// A point on a mesh, and how far it is from what was asked about.
struct MeshPoint
{
    uint32 face;
    double distance;
    Vector3D barycentric;  ///< the weights of the face's corners, not below 0; their sum is 1
    Vector3D position;
};

}  // namespace tavrix
