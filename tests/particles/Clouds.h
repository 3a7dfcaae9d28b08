#pragma once

#include <random>

#include <tavrix/foundation/Array.h>
#include <tavrix/foundation/Vector3.h>

namespace tavrix::test
{

/// Points in a cube from the origin to the extent.
inline Array<Vector3F> cloud(uint32 count, float extent, uint32 seed)
{
    std::mt19937 random(seed);
    const auto unit = [&] { return static_cast<float>(random() % 100001) / 100000.0f * extent; };
    Array<Vector3F> positions(count);
    for (Vector3F& p : positions) p = {unit(), unit(), unit()};
    return positions;
}

inline double squaredDistance(const Vector3F& a, const Vector3D& b)
{
    const Vector3D d = convert<double>(a) - b;
    return dot(d, d);
}

}  // namespace tavrix::test
