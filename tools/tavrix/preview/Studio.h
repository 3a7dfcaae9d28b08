#pragma once

#include <tavrix/foundation/Vector3.h>

#include "preview/View.h"

namespace tavrix::tool
{

// The photographer's set: what is lit, and by what. Colours are linear, and 1 is white.

inline constexpr Vector3F matterColor{0.032f, 0.165f, 0.385f};  ///< share of light that the subject scatters
inline constexpr Vector3F keyColor{2.35f, 2.25f, 2.08f};        ///< of the key light on what faces it
inline constexpr Vector3F neighbourGlow{0.05f, 0.14f, 0.25f};   ///< of matter that blocks the sky
inline constexpr Vector3F groundGlow{0.52f, 0.51f, 0.50f};      ///< of the lit ground, from below
inline constexpr Vector3F fillOnGround{0.58f, 0.66f, 0.78f};    ///< of the sky, where nothing stands
inline constexpr float groundKeyShare = 0.42f;  ///< of the ground's light that the key light gives
inline constexpr float keyRadius = 0.085f;      ///< of the key light as seen from the stage, radians

Vector3F mix(const Vector3F& a, const Vector3F& b, float t);
Vector3F product(const Vector3F& a, const Vector3F& b);
float brightness(const Vector3F& color);
/// From 0 at `from` to 1 at `to`, smooth.
float smoothStep(float from, float to, float x);

/// Where the key light stands: at the upper left of the camera.
Vector3F directionOfKey(const View& view);
/// Where the sky is brightest: at the right, which keeps the side that the key light leaves dark from being
/// flat.
Vector3F directionOfBrightSide(const View& view);

/// Light of the sky from the direction.
Vector3F skyColor(const Vector3F& direction, const Vector3F& brightSide);
/// What the subject mirrors in the direction: light walls above and at the bright side, a dark room else.
Vector3F mirroredColor(const Vector3F& direction, const Vector3F& brightSide);
/// The paper behind and under everything, at the place in the frame (from -1 to 1 both ways): light, and a
/// little brighter in the middle.
Vector3F paperColor(float x, float y, const View& view);

}  // namespace tavrix::tool
