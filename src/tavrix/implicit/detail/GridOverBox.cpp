#include <tavrix/implicit/detail/GridOverBox.h>

#include <algorithm>
#include <cmath>
#include <stdexcept>

namespace tavrix::detail
{

Optional<Index3> nodesOverBox(const Box3D& box, double separation)
{
    if (!(separation > 0) || !std::isfinite(separation)) return {};
    Index3 nodes;
    for (uint32 axis = 0; axis < 3; ++axis)
    {
        const double extent = box.max[axis] - box.min[axis];
        if (!(extent >= 0) || !std::isfinite(extent)) return {};
        const double cells = std::max(std::ceil(extent / separation), 1.0);
        if (cells >= noIndex) throw std::length_error("tavrix: a grid of more than 2^32 - 1 nodes");
        nodes[axis] = static_cast<uint32>(cells) + 1;
    }
    return nodes;
}

}  // namespace tavrix::detail
