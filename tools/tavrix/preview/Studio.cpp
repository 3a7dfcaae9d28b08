#include "preview/Studio.h"

#include <algorithm>

#include <tavrix/foundation/ElementaryFunctions.h>

namespace tavrix::tool
{

namespace
{

constexpr double keyElevation = 42, keyTurn = -66;  // in degrees; the turn is from the camera
constexpr Vector3F zenith{0.50f, 0.63f, 0.82f}, horizon{0.86f, 0.88f, 0.92f};
constexpr Vector3F paperInside{0.90f, 0.92f, 0.94f}, paperOutside{0.56f, 0.62f, 0.70f};
constexpr Vector3F darkRoom{0.12f, 0.18f, 0.26f}, upperWall{1.3f, 1.35f, 1.4f}, sideWall{1.1f, 1.15f, 1.2f};

}  // namespace

Vector3F mix(const Vector3F& a, const Vector3F& b, float t) { return a * (1 - t) + b * t; }

Vector3F product(const Vector3F& a, const Vector3F& b) { return {a.x * b.x, a.y * b.y, a.z * b.z}; }

float brightness(const Vector3F& color) { return 0.2f * color.x + 0.7f * color.y + 0.1f * color.z; }

float smoothStep(float from, float to, float x)
{
    const float t = std::clamp((x - from) / (to - from), 0.0f, 1.0f);
    return t * t * (3 - 2 * t);
}

Vector3F directionOfKey(const View& view)
{
    const auto [sinTurn, cosTurn] = sineCosine(keyTurn * piValue / 180);
    // the camera is upright, so that its right says which way around the stage it stands
    const double sinCamera = -view.camera.right.z, cosCamera = view.camera.right.x;
    const double sinA = sinCamera * cosTurn + cosCamera * sinTurn,
                 cosA = cosCamera * cosTurn - sinCamera * sinTurn;
    const auto [sinE, cosE] = sineCosine(keyElevation * piValue / 180);
    return convert<float>(Vector3D{sinA * cosE, sinE, cosA * cosE});
}

Vector3F directionOfBrightSide(const View& view)
{
    const Vector3F side =
        convert<float>(view.camera.right * 0.85 - view.camera.forward * 0.1) + Vector3F{0, 0.45f, 0};
    return side * (1 / length(side));
}

Vector3F skyColor(const Vector3F& direction, const Vector3F& brightSide)
{
    const float height = std::max(direction.y, 0.0f);
    const float side = 0.5f + 0.5f * dot(direction, brightSide);
    return mix(horizon, zenith, height * (2 - height)) * (0.5f + 0.9f * side * side);
}

Vector3F mirroredColor(const Vector3F& direction, const Vector3F& brightSide)
{
    const float up = smoothStep(-0.2f, 0.5f, direction.y);
    const float side = smoothStep(0.2f, 0.85f, dot(direction, brightSide));
    return mix(darkRoom, upperWall, up) + sideWall * side;
}

Vector3F paperColor(float x, float y, const View& view)
{
    const auto aspect = static_cast<float>(view.camera.tangentX / view.camera.tangentY);
    const float fromMiddle = y + 0.15f;
    const float square =
        x * x * std::min(aspect, 1.0f) + fromMiddle * fromMiddle * std::min(1 / aspect, 1.0f);
    return mix(paperOutside, paperInside, 1 / (1 + 0.42f * square));
}

}  // namespace tavrix::tool
