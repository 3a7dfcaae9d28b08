#pragma once

#include <cstddef>

#include <tavrix/platform/Types.h>

namespace tavrix::detail
{

/// No reach counts for more nodes than this, which is past the end of every lattice.
inline constexpr double maxReachInNodes = 1e10;

/// Centre and radius; finite, the radius above 0 and its reach's square finite, and the centre no further
/// from the lattice than it reaches.
struct Particle
{
    float x, y, z, r;
};

/// The falling-off of a particle's influence: scale (1 - d^2 / R^2)^3 with R = reach r, merged by maximum
/// (where the scale is 1) or by sum. Along each axis only the nodes within ceil(R / largestSeparation) of the
/// particle's cell count.
struct SplatKernel
{
    enum class Merge
    {
        Maximum,
        Sum
    };
    Merge merge;
    float reach;
    float scale;
};

/// The part of a lattice that particles are splatted into.
template <class Value>
struct SplatTarget
{
    Value* samples;      ///< of the lattice node rowStart on each axis
    uint32 rowStart[3];  ///< the first node that is stored
    uint32 rowLength;    ///< stored nodes along z
    std::size_t strideX, strideY;
    uint32 low[3], high[3];  ///< the nodes that may change, half open, all stored
    const double* nodes[3];  ///< coordinates of all lattice nodes, per axis
    double reciprocal[3];    ///< 1 / separation, per axis
    double largestSeparation;
    double* scratch;  ///< room for rowLength + 16 numbers
};

/// Adds the particles to the target, in their order.
template <class Value>
using SplatFunction = void (*)(const SplatTarget<Value>&, const SplatKernel&, const Particle*,
                               std::size_t count);

/// The widest implementation that this processor runs; all give the same bytes.
template <class Value>
SplatFunction<Value> splatFunction();

}  // namespace tavrix::detail
