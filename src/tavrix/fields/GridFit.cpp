#include <tavrix/fields/GridFit.h>

#include <cmath>

namespace tavrix
{

Index3 GridFit::size() const
{
    return {static_cast<uint32>(sizes.x), static_cast<uint32>(sizes.y), static_cast<uint32>(sizes.z)};
}

GridFit fitGrid(const Box3D& box, double reach, double spacing)
{
    GridFit fit{{}, {}, spacing};
    for (uint32 axis = 0; axis < 3; ++axis)
    {
        const double low = std::floor((box.min[axis] - reach) / spacing) - 1;  // in spacings
        const double high = std::ceil((box.max[axis] + reach) / spacing) + 1;
        fit.sizes[axis] = high - low + 1;
        fit.center[axis] = (low + high) / 2 * spacing;
    }
    return fit;
}

double fittingSpacing(const Box3D& box, double reach, double spacing, double mostNodes)
{
    while (std::isfinite(spacing) && fitGrid(box, reach, spacing).nodeCount() > mostNodes) spacing *= 1.02;
    const double digit = std::pow(10, std::floor(std::log10(spacing)) - 1);
    return std::ceil(spacing / digit) * digit;
}

}  // namespace tavrix
