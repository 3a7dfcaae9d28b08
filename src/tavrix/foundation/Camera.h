#pragma once

#include <span>

#include <tavrix/foundation/Box3.h>
#include <tavrix/foundation/Optional.h>
#include <tavrix/foundation/Ray3.h>
#include <tavrix/foundation/Vector2.h>
#include <tavrix/platform/Export.h>

namespace tavrix
{

/// A camera in perspective: a place, the directions in which its picture extends, and how far it sees to the
/// sides. Places in the picture run from -1 to 1, from left to right and from bottom to top. Angles are in
/// radians, and results the same on every system.
struct Camera
{
    Vector3D eye;  ///< where it stands
    /// Unit vectors across one another; forward is the line of sight.
    /// @{
    Vector3D right, upward, forward;
    /// @}
    /// Of half the angles of view.
    /// @{
    double tangentX, tangentY;
    /// @}

    /// A camera that looks from a place to another one, with `up` upwards in the picture; where that is the
    /// line of sight, -z is, or y when z is nearer to it. The angle of view, below pi, is that of the shorter
    /// side of a picture with the aspect width / height. The places must differ, and `up` be no 0.
    TX_GEOMETRY_API static Camera lookingAt(const Vector3D& eye, const Vector3D& target, const Vector3D& up,
                                            double angleOfView, double aspect);

    /// What is seen at a place in the picture: a ray from the eye, whose length of 1 ends at the depth 1.
    TX_GEOMETRY_API Ray3D ray(const Vector2D& place) const;
    /// Where in the picture a point is seen, beyond -1 and 1 outside of it; none for points not before the
    /// eye.
    TX_GEOMETRY_API Optional<Vector2D> project(const Vector3D& point) const;
    /// False when the whole box lies behind the eye or beyond one side of the picture.
    TX_GEOMETRY_API bool maySee(const Box3D& box) const;

    /// The camera moved, without turning it, to the nearest place from which all points are seen, with a
    /// border left free that is this part of half the picture; centred where there is room. Not moved for no
    /// points. Linear.
    TX_GEOMETRY_API Camera fitted(std::span<const Vector3D> points, double border = 0) const;
    /// The camera turned around an axis, a unit vector, through a point: counter-clockwise when it points to
    /// the viewer.
    TX_GEOMETRY_API Camera orbited(const Vector3D& center, const Vector3D& axis, double angle) const;
};

}  // namespace tavrix
