#pragma once

#include "preview/Picture.h"

namespace tavrix::tool
{

/// The bytes of a PNG file of the picture. The same picture gives the same bytes on every system.
std::vector<unsigned char> encodePng(const Picture& picture);

}  // namespace tavrix::tool
