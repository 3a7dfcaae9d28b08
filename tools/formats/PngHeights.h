#pragma once

#include <string>

#include <tavrix/meshproc/HeightPicture.h>

namespace tavrix::formats
{

/// Reads a PNG picture as heights from 0 (black) to 1 (white): grey as it is, of 1 to 16 bits, and colours,
/// also of a palette, by their luma (ITU-R BT.709); opacity does not count. Throws Failure when it cannot be
/// read, is damaged or cut off, is no PNG or an interlaced one, or says that it is larger than its bytes can
/// be.
HeightPicture readPngHeights(const std::string& path);

}  // namespace tavrix::formats
