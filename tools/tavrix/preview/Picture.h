#pragma once

#include <string>
#include <vector>

#include <tavrix/platform/Types.h>

namespace tavrix::tool
{

/// A picture of 8-bit sRGB colours, three bytes a pixel, row after row from the top left corner.
struct Picture
{
    uint32 width, height;
    std::vector<unsigned char> rgb;
};

/// Writes the picture as a PNG file, whole or not at all. Throws Failure, naming the file and the way out,
/// when that cannot be done.
void savePng(const Picture& picture, const std::string& path);

/// The pictures side by side from left to right; all of one height.
Picture sideBySide(const std::vector<Picture>& pictures);

}  // namespace tavrix::tool
