#pragma once

#include <tavrix/foundation/Array.h>
#include <tavrix/platform/Export.h>
#include <tavrix/platform/Types.h>

namespace tavrix
{

/// A picture of heights, row by row from the top: width * height values.
struct TX_GEOMETRY_API HeightPicture
{
    /// In pixels.
    /// @{
    uint32 width = 0, height = 0;
    /// @}
    Array<float> values;   ///< of the pixels, commonly from 0 (black) to 1 (white)
    bool repeats = false;  ///< goes on as tiles beyond its borders, else with the pixels there

    /// The height at a texture coordinate, bilinear between the middles of pixels: (0, 0) is the lower left
    /// corner of the picture and (1, 1) the upper right one. 0 of an empty picture, and where a coordinate is
    /// not finite.
    double at(double u, double v) const;
};

}  // namespace tavrix
