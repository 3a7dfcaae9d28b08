#pragma once

#include <tavrix/platform/TX_String.h>

namespace tavrix
{

/// What a mesh records about one of its arrays: flags and the name under which it is found.
struct MeshArrayInf
{
    /// What the elements of an array are: one for every position or face, pairs of indices, points or
    /// directions, blocks of a list. The library itself looks at PER_POSITION, PER_FACE and LIFE_CYCLE only.
    enum Flag : uint32
    {
        PER_POSITION = 1,
        BINDEX = 2,
        PER_FACE = 4,
        INDEX_TRIPLE = 32,
        POSITIONS_DATA = 64,
        BLOCK_INFO = 128,
        BLOCK_DATA = 256,
        POINT = 65536,
        DIRECTION = 131072,
        SMOOTHED = 524288,
        LIFE_CYCLE = 0x80000000  ///< an extra array that dies with the mesh
    };

    /// Flags, or-ed together, and the name.
    /// @{
    uint32 flags = 0;
    TX_String name;
    /// @}
};

}  // namespace tavrix
