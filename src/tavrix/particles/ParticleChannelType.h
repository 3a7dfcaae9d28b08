#pragma once

#include <tavrix/platform/Types.h>

namespace tavrix
{

/// The types of a particle channel, named as the accessors' suffixes; 0 and anything above 12 is no type.
/// Vector3F, Vector3D, Vector2F and Color4F are the aggregates of those names, BOOL is bool, FLOAT float,
/// DOUBLE double, and the integers have the bits that their name says.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wshadow"  // of scoped names, which hide nothing
#endif
enum class ParticleChannelType : uint32
{
    Vector3F = 1,
    Vector3D = 2,
    Vector2F = 3,
    UINT64 = 4,
    UINT16 = 5,
    UINT8 = 6,
    INT32 = 7,
    BOOL = 8,
    FLOAT = 9,
    DOUBLE = 10,
    Color4F = 11,
    UINT32 = 12
};
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic pop
#endif

}  // namespace tavrix
