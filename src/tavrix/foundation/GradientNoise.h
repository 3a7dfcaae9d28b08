#pragma once

#include <tavrix/foundation/Vector3.h>
#include <tavrix/platform/Export.h>
#include <tavrix/platform/Types.h>

namespace tavrix
{

/// Noise without a direction or a beginning: a smooth function of space that is 0 at all points with whole
/// coordinates, and between them rises and falls once or twice a unit (Perlin, Improving Noise, SIGGRAPH
/// 2002, with gradients chosen by a hash of the whole coordinates instead of a table of 256). Another seed
/// makes another one; the same bits on every system. Beyond 10^15 units from the origin it is 0.
class TX_GEOMETRY_API GradientNoise
{
public:
    /// The noise of a seed.
    explicit GradientNoise(uint32 seed = 0) : _seed(seed) {}

    /// The noise at a point, from about -1 to 1, with continuous second derivatives.
    double at(const Vector3D& p) const;
    /// The weighted mean of so many octaves (1 to 32), each of half the size and half the weight of the one
    /// before: broad hills with ever smaller ones on them.
    double fractal(const Vector3D& p, uint32 octaves) const;

private:
    uint32 _seed;
};

}  // namespace tavrix
