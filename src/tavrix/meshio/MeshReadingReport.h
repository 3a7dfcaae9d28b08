#pragma once

#include <tavrix/platform/Types.h>

namespace tavrix
{

/// What a reader left out of a mesh file, or had to guess.
struct MeshReadingReport
{
    uint64 faces = 0;    ///< left out: of too few corners, or of corners that cannot be used
    uint64 corners = 0;  ///< of indices that the file has no element for, or too many for their face
    uint64 numbers = 0;  ///< missing, or no numbers
    bool isCut = false;  ///< the file ends where it should go on

    /// Whether nothing is missing.
    bool isWhole() const { return faces == 0 && corners == 0 && numbers == 0 && !isCut; }
};

}  // namespace tavrix
