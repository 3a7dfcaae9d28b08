#pragma once

#include <bit>

#include <tavrix/foundation/detail/BitsOf.h>
#include <tavrix/foundation/Vector3.h>

namespace tavrix::detail
{

/// Mixes the bits of a point's coordinates; the upper bits are the best. Products with odd constants of
/// well-mixed bits: the golden ratio's and those of Collet's xxHash.
template <class T>
uint64 hashOf(const Vector3<T>& p)
{
    const auto bits = [](T number) { return uint64{std::bit_cast<BitsOf<T>>(number)}; };
    const uint64 mixed =
        bits(p.x) * 0x9E3779B97F4A7C15u + bits(p.y) * 0xC2B2AE3D27D4EB4Fu + bits(p.z) * 0x165667B19E3779F9u;
    return (mixed ^ (mixed >> 32)) * 0xD6E8FEB86659FD93u;
}

}  // namespace tavrix::detail
