#include <tavrix/fields/detail/EllipsoidSplat.h>

#include <cmath>

#include <tavrix/fields/detail/LatticeNodes.h>

namespace tavrix::detail
{

Ellipsoid Ellipsoid::ball(float x, float y, float z, float reach, float amplitude)
{
    const float s = 1.0f / (reach * reach);
    return {x, y, z, amplitude, s, 0, 0, s, 0, s, {reach, reach, reach}};
}

void Ellipsoid::fitExtent()
{
    const double a = xx, b = xy, c = xz, d = yy, f = yz, g = zz;
    const double minors[] = {d * g - f * f, a * g - c * c, a * d - b * b};
    const double determinant = a * minors[0] - b * (b * g - c * f) + c * (b * f - c * d);
    for (int axis = 0; axis < 3; ++axis)
        extent[axis] = static_cast<float>(std::sqrt(minors[axis] / determinant));
}

bool EllipsoidKernel::isUsable(const Ellipsoid& e) const
{
    for (const float number : {e.xx, e.xy, e.xz, e.yy, e.yz, e.zz, e.amplitude})
        if (!std::isfinite(number)) return false;
    for (const float extent : e.extent)
        if (!(extent > 0 && std::isfinite(extent))) return false;
    return e.amplitude != 0 && e.xx > 0 && e.yy > 0 && e.zz > 0;
}

double EllipsoidKernel::nodesReached(const LatticeSteps& lattice, const Ellipsoid& ellipsoid,
                                     uint32 axis) const
{
    return ellipsoid.extent[axis] * lattice.reciprocal[axis];
}

template <class Value>
void EllipsoidKernel::splat(const SplatTarget<Value>& target, const Ellipsoid* ellipsoids,
                            std::size_t count) const
{
    TX_RUN_KERNEL(splat, target, merge, ellipsoids, count);
}

template void EllipsoidKernel::splat(const SplatTarget<float>&, const Ellipsoid*, std::size_t) const;
template void EllipsoidKernel::splat(const SplatTarget<double>&, const Ellipsoid*, std::size_t) const;

}  // namespace tavrix::detail
