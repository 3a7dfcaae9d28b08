#pragma once

#include <tavrix/foundation/Box2.h>
#include <tavrix/meshproc/polylinetools.h>

namespace tavrix
{

/// Where a point lies with regard to what loops enclose.
enum class PointPlace
{
    Outside,
    Border,
    Inside
};

/// One closed loop of points in the plane, its last point joined to the first; whether it crosses itself is
/// not checked. Sides are decided exactly for coordinates of magnitudes up to 1e140, whose parts below 1e-150
/// do not count.
class TX_GEOMETRY_API Polygonum
{
public:
    /// A loop of no points.
    Polygonum() = default;
    /// Takes over the points.
    explicit Polygonum(Polyline points) : _points(std::move(points)) {}

    /// The points, in order.
    /// @{
    const Polyline& points() const { return _points; }
    uint32 size() const { return _points.size(); }
    const Vector2D& operator[](uint32 n) const { return _points[n]; }
    const Vector2D* begin() const { return _points.begin(); }
    const Vector2D* end() const { return _points.end(); }
    /// @}

    /// The area, above 0 for a loop that runs counter-clockwise: the sum of the triangles from the first
    /// point. The loop turned around has exactly the opposite.
    double signedArea() const;
    /// Whether the signed area is above 0.
    bool isCounterClockwise() const { return signedArea() > 0; }
    /// The length of the way around.
    double perimeter() const { return polylinetools::lengthOf(_points, true); }
    /// The smallest box around the points; Box2D::empty() without any.
    Box2D box() const;

    /// Where a point lies, exactly: on the loop, or inside when a ray from it meets the loop an odd number of
    /// times, or outside. Linear.
    PointPlace locate(const Vector2D& point) const;

    /// Has the loop run the other way, from the same point.
    void reverse();
    /// The loop with fewer points, as polylinetools::simplifyLoops makes it.
    Polygonum simplified(double tolerance) const;

private:
    Polyline _points;
};

}  // namespace tavrix
