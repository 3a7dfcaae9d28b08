#pragma once

#include <cmath>

#include <tavrix/foundation/Vector3.h>

namespace tavrix::detail
{

/// A number that grows with the angle of (x, y), from 0 to 4 for the whole turn.
inline double turnOf(double x, double y)
{
    const double sum = std::fabs(x) + std::fabs(y);
    if (!(sum > 0) || !std::isfinite(sum)) return 0;
    const double part = y / sum;
    return x < 0 ? 2 - part : part < 0 ? 4 + part : part;
}

/// Measures angles around an axis, counter-clockwise when it points towards the viewer.
class AroundAxis
{
public:
    AroundAxis(const Vector3D& from, const Vector3D& to, const Vector3D& first)
        : _from(from), _axis(to - from), _length(length(_axis)), _x(across(first)), _y(cross(_axis, _x))
    {
    }

    /// From the first point's direction, where it is 0, as turnOf; 0 for a point on the axis.
    double turnTo(const Vector3D& point) const
    {
        const Vector3D d = across(point);
        return turnOf(dot(_x, d) * _length, dot(_y, d));
    }

private:
    /// What lies across the axis of the way to a point, times a constant.
    Vector3D across(const Vector3D& point) const
    {
        const Vector3D d = point - _from;
        return d * dot(_axis, _axis) - _axis * dot(_axis, d);
    }

    Vector3D _from, _axis;
    double _length;
    Vector3D _x, _y;
};

}  // namespace tavrix::detail
