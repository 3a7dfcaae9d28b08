#pragma once

#include <optional>

#include <tavrix/foundation/Camera.h>

namespace tavrix::tool
{

enum class UpAxis
{
    Y,
    Z
};

/// A camera as it is asked for, in the coordinates of the scene; the angle of view, that of the shorter side,
/// in degrees.
struct CameraPlace
{
    Vector3D eye, target;
    double angle;
};

/// What a picture is to be like; threads 0: as many as the machine has.
struct PreviewOptions
{
    uint32 width = 1600, height = 1000;
    UpAxis up = UpAxis::Y;
    uint32 threads = 0;
    std::optional<CameraPlace> camera = {};  ///< none: one that sees the whole scene
    uint32 turns = 1, turn = 0;  ///< of so many pictures on the way around the scene this one, from 0 on
};

/// A camera, and the stage that it looks at. On the stage y is up, the box that the view was made for lies
/// around the origin with a diagonal of 2, and the ground is the plane under it; whatever the size and place
/// of a scene, a picture is computed in these coordinates.
struct View
{
    Vector3D boxCenter;
    double scale;  ///< stage lengths a length of the scene
    UpAxis up;
    double ground;  ///< height of the ground on the stage
    Camera camera;  ///< on the stage, upright

    Vector3D onStage(const Vector3D& p) const;
    Vector3F toStage(const Vector3D& p) const;
};

/// Whether something of a box in the scene may be in the picture.
bool maySee(const View& view, const Box3D& box);

/// The view of a box: by the camera of the options; without one, from the front at a three-quarter angle with
/// the longer side turned to the camera, as near as the whole box fits into the frame with a small border,
/// whatever its proportions, in all pictures on the way around it. It depends on nothing but the box and the
/// options, so that the frames of a sequence with one box have one camera. A box without size, or an empty
/// one, gets a table of length 1 around it.
View viewOf(const Box3D& box, const PreviewOptions& options);

}  // namespace tavrix::tool
