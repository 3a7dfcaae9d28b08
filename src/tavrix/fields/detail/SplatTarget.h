#pragma once

#include <cstddef>

#include <tavrix/platform/Types.h>

namespace tavrix::detail
{

/// No reach counts for more nodes than this, which is past the end of every lattice.
inline constexpr double maxReachInNodes = 1e10;

/// How the contributions of several particles at a node combine. Depth takes the maximum of depths below the
/// end of the reach, the others a smooth kernel.
enum class SplatMerge
{
    Maximum,
    Sum,
    Depth
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
    /// The cell of a place along an axis is floor((place - origin) reciprocal) - firstNode: as a lattice of
    /// many targets has them, so that a place has the same cell in all.
    double origin[3], firstNode[3];
    double reciprocal[3];  ///< 1 / separation, per axis
    double largestSeparation;
    double* scratch;  ///< room for rowLength + 16 numbers
};

}  // namespace tavrix::detail
