#pragma once

#include <tavrix/spatial/RaySlabs.h>

namespace tavrix
{

/// The distances of a point from many boxes, as squares. Boxes count as larger than they are by
/// roundingReach, so that nothing in a box is computed to be nearer than the box.
class BoxDistance
{
public:
    /// All boxes that come lie in `world`. The point is finite.
    BoxDistance(const Vector3D& point, const Box3F& world)
    {
        const double reach = roundingReach(point, world);
        for (uint32 axis = 0; axis < 3; ++axis)
        {
            _low[axis] = point[axis] + reach;
            _high[axis] = point[axis] - reach;
        }
    }

    double squared(const Box3F& box) const
    {
        double sum = 0;
        for (uint32 axis = 0; axis < 3; ++axis)
        {
            const double below = box.min[axis] - _low[axis], above = _high[axis] - box.max[axis];
            const double nearer = below > above ? below : above;
            const double apart = nearer > 0 ? nearer : 0;
            sum += apart * apart;
        }
        return sum;
    }

private:
    double _low[3], _high[3];
};

}  // namespace tavrix
