#include <tavrix/foundation/Camera.h>

#include <algorithm>
#include <cmath>

#include <tavrix/foundation/ElementaryFunctions.h>
#include <tavrix/foundation/Quaternion.h>

namespace tavrix
{

namespace
{

struct Interval
{
    double low, high;
};

/// Of a camera at (across, along) that sees a point when |point across - across| <= tangent (point along -
/// along): where it may stand across, at a place along.
Interval placesAcross(std::span<const Vector3D> points, const Vector3D& across, const Vector3D& forward,
                      double tangent, double along)
{
    Interval places{-1e300, 1e300};
    for (const Vector3D& p : points)
    {
        places.low = std::max(places.low, dot(p, across) - tangent * (dot(p, forward) - along));
        places.high = std::min(places.high, dot(p, across) + tangent * (dot(p, forward) - along));
    }
    return places;
}

/// The foremost place along the line of sight with a place across: every point has a half-plane on each side,
/// and the foremost camera in all of them is where the outermost two borders meet.
double foremost(std::span<const Vector3D> points, const Vector3D& across, const Vector3D& forward,
                double tangent)
{
    const Interval atOrigin = placesAcross(points, across, forward, tangent, 0);
    return (atOrigin.high - atOrigin.low) / (2 * tangent);
}

double middle(const Interval& interval) { return (interval.low + interval.high) / 2; }

Vector3D unit(const Vector3D& v) { return v * (1 / length(v)); }

}  // namespace

Camera Camera::lookingAt(const Vector3D& eye, const Vector3D& target, const Vector3D& up, double angleOfView,
                         double aspect)
{
    constexpr double nearlyAlong = 1e-9;
    const Vector3D forward = unit(target - eye);
    Vector3D right = cross(forward, unit(up));
    if (length(right) < nearlyAlong)
        right = cross(forward, std::abs(forward.z) < 0.5 ? Vector3D{0, 0, -1} : Vector3D{0, 1, 0});
    right = unit(right);
    const auto [sine, cosine] = sineCosine(angleOfView / 2);
    const double tangent = sine / cosine;
    return {eye,
            right,
            cross(right, forward),
            forward,
            tangent * std::max(aspect, 1.0),
            tangent * std::max(1 / aspect, 1.0)};
}

Ray3D Camera::ray(const Vector2D& place) const
{
    return {eye, forward + right * (place.x * tangentX) + upward * (place.y * tangentY)};
}

Optional<Vector2D> Camera::project(const Vector3D& point) const
{
    const Vector3D way = point - eye;
    const double depth = dot(way, forward);
    if (!(depth > 0)) return {};
    return Vector2D{dot(way, right) / (depth * tangentX), dot(way, upward) / (depth * tangentY)};
}

bool Camera::maySee(const Box3D& box) const
{
    if (box.isEmpty()) return false;
    const Vector3D sides[] = {forward, forward * tangentX + right, forward * tangentX - right,
                              forward * tangentY + upward, forward * tangentY - upward};
    const Box3Points_ex<double> corners(box);
    return std::all_of(std::begin(sides), std::end(sides),
                       [&](const Vector3D& inwards)
                       {
                           return std::any_of(corners.points.begin(), corners.points.end(),
                                              [&](const Vector3D& p) { return dot(p - eye, inwards) > 0; });
                       });
}

Camera Camera::fitted(std::span<const Vector3D> points, double border) const
{
    if (points.empty()) return *this;
    const double innerX = tangentX * (1 - border), innerY = tangentY * (1 - border);
    const double along =
        std::min(foremost(points, right, forward, innerX), foremost(points, upward, forward, innerY));
    Camera camera = *this;
    camera.eye = forward * along + right * middle(placesAcross(points, right, forward, innerX, along)) +
                 upward * middle(placesAcross(points, upward, forward, innerY, along));
    return camera;
}

Camera Camera::orbited(const Vector3D& center, const Vector3D& axis, double angle) const
{
    const auto [sine, cosine] = sineCosine(angle / 2);
    const QuaternionD turn = QuaternionD::fromHalfAngle(axis, cosine, sine);
    return {center + turn.rotate(eye - center),
            turn.rotate(right),
            turn.rotate(upward),
            turn.rotate(forward),
            tangentX,
            tangentY};
}

}  // namespace tavrix
