#pragma once

#include <algorithm>
#include <cmath>
#include <limits>

#include <tavrix/foundation/Box3.h>
#include <tavrix/foundation/Ray3.h>

// One ray or point, and the boxes of a tree.

namespace tavrix
{

/// What rounding may move a point by that is computed from another point and coordinates in a box: 2^-48 of
/// the largest coordinate.
inline double roundingReach(const Vector3D& point, const Box3F& box)
{
    double largest = 0;
    for (uint32 axis = 0; axis < 3; ++axis)
        largest = std::max({largest, std::fabs(double{box.min[axis]}), std::fabs(double{box.max[axis]}),
                            std::fabs(point[axis])});
    return largest * 0x1p-48;
}

/// A ray made ready to be met with many boxes, by the planes that bound them.
///
/// Boxes count as larger than they are by roundingReach, so that whatever the ray hits in a box by a
/// computation in double precision, it meets the box, and no later than it hits.
class RaySlabs
{
public:
    /// All boxes that come lie in `world`. A ray with a number that is not finite, or without direction,
    /// meets none.
    RaySlabs(const Ray3D& ray, const Box3F& world)
        : _isValid(isFinite(ray.origin) && isFinite(ray.direction) && ray.direction != Vector3D{0, 0, 0})
    {
        const double reach = roundingReach(ray.origin, world);
        for (uint32 axis = 0; axis < 3; ++axis)
        {
            _inverse[axis] = 1 / ray.direction[axis];
            const bool isDown = _inverse[axis] < 0;
            _nearSide[axis] = isDown ? &Box3F::max : &Box3F::min;
            _farSide[axis] = isDown ? &Box3F::min : &Box3F::max;
            _near[axis] = ray.origin[axis] + (isDown ? -reach : reach);
            _far[axis] = ray.origin[axis] - (isDown ? -reach : reach);
        }
    }

    /// Where the ray enters the box, in lengths of its direction, 0 when it starts inside; infinity when it
    /// misses the box.
    double entry(const Box3F& box) const
    {
        double first = 0, last = _isValid ? std::numeric_limits<double>::max() : -1;
        for (uint32 axis = 0; axis < 3; ++axis)
        {
            const double in = ((box.*_nearSide[axis])[axis] - _near[axis]) * _inverse[axis];
            const double out = ((box.*_farSide[axis])[axis] - _far[axis]) * _inverse[axis];
            // in a plane that the ray runs along these are not numbers, and change nothing
            first = in > first ? in : first;
            last = out < last ? out : last;
        }
        return first <= last ? first : std::numeric_limits<double>::infinity();
    }

private:
    Vector3F Box3F::*_nearSide[3];  ///< of boxes, as the ray comes to them
    Vector3F Box3F::*_farSide[3];
    double _inverse[3], _near[3], _far[3];
    bool _isValid;
};

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

    /// 0 for a box that holds the point.
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
