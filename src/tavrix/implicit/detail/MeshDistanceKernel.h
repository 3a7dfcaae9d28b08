#pragma once

#include <cstddef>

#include <tavrix/foundation/detail/Kernel.h>
#include <tavrix/foundation/Tuple.h>
#include <tavrix/foundation/Vector3.h>

namespace tavrix::detail
{

/// The grid that faces lower the samples of.
template <class T>
struct DistanceTarget
{
    T* samples;  ///< of all nodes, squared distances so far
    uint32 size[3];
    const double* nodes[3];  ///< coordinates, per axis
    double reciprocal[3];    ///< 1 / separation, per axis
    double band;
};

/// lowerToFaces lowers the samples of the x planes [low, high) to the squared distances from the faces with
/// the numbers given, where these come within the band; the faces' corners exist and are finite. `scratch`
/// has room for size[2] numbers. rootsUpTo makes distances of squared ones: the band for those not below
/// its square.
TX_DECLARE_KERNEL(template <class T>
                  void lowerToFaces(const DistanceTarget<T>& target, const Vector3D* positions,
                                    const Index3* faces, const uint32* numbers, std::size_t count, uint32 low,
                                    uint32 high, T* scratch);
                  template <class T> void rootsUpTo(T* samples, std::size_t count, T band);)

}  // namespace tavrix::detail
