#pragma once

#include <tavrix/foundation/Box3.h>

namespace tavrix::tool
{

enum class UpAxis
{
    Y,
    Z
};

/// What a picture is to be like; threads 0: as many as the machine has.
struct PreviewOptions
{
    uint32 width = 1600, height = 1000;
    UpAxis up = UpAxis::Y;
    uint32 threads = 0;
};

/// A camera, and the stage that it looks at. On the stage y is up, the box that the view was made for lies
/// around the origin with a diagonal of 2, and the ground is the plane under it; whatever the size and place
/// of a scene, a picture is computed in these coordinates.
struct View
{
    Vector3D boxCenter;
    double scale;  ///< stage lengths a length of the scene
    UpAxis up;
    double ground;                    ///< height of the ground on the stage
    Vector3D eye;                     ///< on the stage
    Vector3D right, upward, forward;  ///< the camera's axes, unit vectors
    double tangentX, tangentY;        ///< of half the angles of view
    double azimuth;                   ///< of the eye around the stage, radians, 0 is +z and pi/2 is +x

    Vector3F toStage(const Vector3D& p) const;
};

/// The view of a box: perspective, from the front at a three-quarter angle with the longer side turned to the
/// camera, as near as the whole box fits into the frame with a small border, whatever its proportions. It
/// depends on nothing but the box and the options, so that the frames of a sequence with one box have one
/// camera. A box without size, or an empty one, gets a table of length 1 around it.
View viewOf(const Box3D& box, const PreviewOptions& options);

}  // namespace tavrix::tool
