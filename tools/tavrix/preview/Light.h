#pragma once

#include <vector>

#include <tavrix/foundation/Vector3.h>

#include "preview/View.h"

namespace tavrix::tool
{

/// A pixel on its way: its colour is `own + fill * fillLight + key * keyLight`, linear in light. Colours are
/// exact, the two lights are averages over a few rays and get filtered; position and normal (shorter where
/// they differ within the pixel) tell which pixels see the same surface.
struct Pixel
{
    Vector3F own, fill, key;
    Vector3F fillLight;
    float keyLight;
    float fillWeight, keyWeight;  ///< of the samples that asked for them; 0: none did
    Vector3F position, normal;
    float weight;       ///< share of the samples that met something to be lit
    float groundShare;  ///< and of those that met the ground
};

/// Smooths the lights of the pixels over neighbours on the same surface, in place. The same result for every
/// number of threads.
void filterLight(std::vector<Pixel>& pixels, uint32 width, uint32 height, const View& view, uint32 threads);

}  // namespace tavrix::tool
