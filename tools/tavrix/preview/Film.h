#pragma once

#include <vector>

#include "preview/Light.h"
#include "preview/Picture.h"

namespace tavrix::tool
{

/// The picture of the pixels in the colours of the sRGB standard, with highlights that never burn out.
Picture develop(const std::vector<Pixel>& pixels, uint32 width, uint32 height, uint32 threads);

}  // namespace tavrix::tool
