#include "preview/View.h"

#include <algorithm>
#include <cmath>

#include <tavrix/foundation/ElementaryFunctions.h>

namespace tavrix::tool
{

namespace
{

constexpr double degrees = piValue / 180;
constexpr double azimuthOfCamera = 32 * degrees;
constexpr double elevationOfCamera = 21 * degrees;
constexpr double halfAngleOfView = 13 * degrees;  ///< of the frame's shorter side
constexpr double border = 0.07;                   ///< share of half the frame
constexpr double smallestSize = 1e-300;           ///< what is smaller counts as a point

/// Turns a scene whose up axis is z so that y is up and what was in front (-y) still is (+z).
Vector3D turned(const Vector3D& v, UpAxis up) { return up == UpAxis::Y ? v : Vector3D{v.x, v.z, -v.y}; }

/// The foremost distance along the line of sight from which all points lie within the tangent: a camera at
/// (across, along) sees a point when |point across - across| <= tangent (point along - along), on each side a
/// half-plane a point, and the foremost camera in all of them is where the outermost two borders meet.
double foremost(const Box3Points_ex<double>& corners, const Vector3D& across, const Vector3D& forward,
                double tangent)
{
    double low = -1e300, high = 1e300;
    for (const Vector3D& p : corners.points)
    {
        low = std::max(low, dot(p, across) - tangent * dot(p, forward));
        high = std::min(high, dot(p, across) + tangent * dot(p, forward));
    }
    return (high - low) / (2 * tangent);
}

/// The middle of the places across the line of sight that see all points from the given distance.
double middle(const Box3Points_ex<double>& corners, const Vector3D& across, const Vector3D& forward,
              double tangent, double along)
{
    double low = -1e300, high = 1e300;
    for (const Vector3D& p : corners.points)
    {
        low = std::max(low, dot(p, across) - tangent * (dot(p, forward) - along));
        high = std::min(high, dot(p, across) + tangent * (dot(p, forward) - along));
    }
    return (low + high) / 2;
}

}  // namespace

Vector3F View::toStage(const Vector3D& p) const
{
    return convert<float>(turned((p - boxCenter) * scale, up));
}

View viewOf(const Box3D& box, const PreviewOptions& options)
{
    const Vector3D half = box.max * 0.5 - box.min * 0.5;
    const double longest = std::max({half.x, half.y, half.z});
    const bool hasSize = longest > smallestSize && std::isfinite(longest);
    const double scale = hasSize ? 1 / longest / length(half / longest) : 1;
    const Vector3D center = box.isEmpty() ? Vector3D{0, 0, 0} : box.min * 0.5 + box.max * 0.5;

    View view{center, scale, options.up, 0, {}, {}, {}, {}, 0, 0, 0};
    const Vector3D turnedHalf = turned(hasSize ? half * scale : Vector3D{0.5, 0.5, 0.5}, options.up);
    const Vector3D h{turnedHalf.x, turnedHalf.y, std::fabs(turnedHalf.z)};
    view.ground = -h.y;
    view.azimuth = h.x >= h.z ? azimuthOfCamera : piValue / 2 - azimuthOfCamera;

    const auto [sinA, cosA] = sineCosine(view.azimuth);
    const auto [sinE, cosE] = sineCosine(elevationOfCamera);
    view.forward = {-sinA * cosE, -sinE, -cosA * cosE};
    view.right = {cosA, 0, -sinA};
    view.upward = cross(view.right, view.forward);

    const auto [sinHalf, cosHalf] = sineCosine(halfAngleOfView);
    const double aspect = static_cast<double>(options.width) / options.height;
    view.tangentX = sinHalf / cosHalf * std::max(aspect, 1.0);
    view.tangentY = sinHalf / cosHalf * std::max(1 / aspect, 1.0);
    const double innerX = view.tangentX * (1 - border), innerY = view.tangentY * (1 - border);

    const Box3Points_ex<double> corners(Box3D{-h, h});
    const double along = std::min(foremost(corners, view.right, view.forward, innerX),
                                  foremost(corners, view.upward, view.forward, innerY));
    view.eye = view.forward * along + view.right * middle(corners, view.right, view.forward, innerX, along) +
               view.upward * middle(corners, view.upward, view.forward, innerY, along);
    return view;
}

}  // namespace tavrix::tool
