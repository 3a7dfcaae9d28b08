#include "preview/View.h"

#include <algorithm>
#include <cmath>
#include <vector>

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
constexpr Vector3D upwards{0, 1, 0};
constexpr double smallestSize = 1e-300;  ///< what is smaller counts as a point

/// Turns a scene whose up axis is z so that y is up and what was in front (-y) still is (+z).
Vector3D turned(const Vector3D& v, UpAxis up) { return up == UpAxis::Y ? v : Vector3D{v.x, v.z, -v.y}; }

/// The corners of the box around the origin, as they come by on its way around the vertical axis.
std::vector<Vector3D> cornersAround(const Vector3D& half, uint32 turns)
{
    std::vector<Vector3D> points;
    points.reserve(std::size_t{8} * turns);
    for (uint32 n = 0; n < turns; ++n)
    {
        const auto [sine, cosine] = sineCosine(2 * piValue * n / turns);
        for (const Vector3D& p : Box3Points_ex<double>(Box3D{-half, half}).points)
            points.push_back({cosine * p.x + sine * p.z, p.y, cosine * p.z - sine * p.x});
    }
    return points;
}

/// The camera that sees the box from the front.
Camera cameraInFront(const Vector3D& half, double aspect, uint32 turns)
{
    const double azimuth = half.x >= half.z ? azimuthOfCamera : piValue / 2 - azimuthOfCamera;
    const auto [sinA, cosA] = sineCosine(azimuth);
    const auto [sinE, cosE] = sineCosine(elevationOfCamera);
    const Camera camera =
        Camera::lookingAt({sinA * cosE, sinE, cosA * cosE}, {0, 0, 0}, upwards, 2 * halfAngleOfView, aspect);
    return camera.fitted(cornersAround(half, turns), border);
}

}  // namespace

Vector3D View::onStage(const Vector3D& p) const { return turned((p - boxCenter) * scale, up); }

Vector3F View::toStage(const Vector3D& p) const { return convert<float>(onStage(p)); }

bool maySee(const View& view, const Box3D& box)
{
    Box3D onStage = Box3D::empty();
    for (const Vector3D& p : Box3Points_ex<double>(box).points) onStage.extend(view.onStage(p));
    return view.camera.maySee(onStage);
}

View viewOf(const Box3D& box, const PreviewOptions& options)
{
    const Vector3D half = box.max * 0.5 - box.min * 0.5;
    const double longest = std::max({half.x, half.y, half.z});
    const bool hasSize = longest > smallestSize && std::isfinite(longest);
    const double scale = hasSize ? 1 / longest / length(half / longest) : 1;
    const Vector3D center = box.isEmpty() ? Vector3D{0, 0, 0} : box.min * 0.5 + box.max * 0.5;
    const Vector3D turnedHalf = turned(hasSize ? half * scale : Vector3D{0.5, 0.5, 0.5}, options.up);
    const Vector3D h{turnedHalf.x, turnedHalf.y, std::fabs(turnedHalf.z)};
    const double aspect = static_cast<double>(options.width) / options.height;

    View view{center, scale, options.up, -h.y, {}};
    Vector3D middle{0, 0, 0};
    if (const auto& place = options.camera)
    {
        middle = view.onStage(place->target);
        view.camera =
            Camera::lookingAt(view.onStage(place->eye), middle, upwards, place->angle * degrees, aspect);
    }
    else
        view.camera = cameraInFront(h, aspect, options.turns);
    if (options.turn > 0)
        view.camera = view.camera.orbited(middle, upwards, 2 * piValue * options.turn / options.turns);
    return view;
}

}  // namespace tavrix::tool
