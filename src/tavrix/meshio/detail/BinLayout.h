#pragma once

#include <cstddef>

#include <tavrix/platform/Types.h>

namespace tavrix::detail
{

// What marks the parts of a BIN mesh file.
inline constexpr uint32 binMagic = 0xDADADADA;
inline constexpr uint32 binVersion = 4;
inline constexpr uint32 binVertexMarker = 0xCCCCCCCC;
inline constexpr uint32 binTextureMarker = 0xCCCCCC00;
inline constexpr uint32 binVelocityMarker = 0xCCCCCC11;
/// Bytes of a record of three floats or three indices.
inline constexpr std::size_t binTripleSize = 12;

/// The optional channels of a BIN mesh file that are read or written.
struct BinChannels
{
    bool uv = true;
    bool velocity = true;
};

}  // namespace tavrix::detail
