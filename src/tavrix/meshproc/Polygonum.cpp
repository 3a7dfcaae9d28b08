#include <tavrix/meshproc/Polygonum.h>

#include <algorithm>

#include <tavrix/mesh/detail/PlaneOrientation.h>

namespace tavrix
{

double Polygonum::signedArea() const
{
    const auto twiceOf = [&](uint32 n)
    {
        const Vector2D a = _points[n - 1] - _points[0], b = _points[n] - _points[0];
        return a.x * b.y - a.y * b.x;
    };
    // summed from both ends, so that a loop that is turned around gets the opposite to the last bit
    double forwards = 0, backwards = 0;
    for (uint32 n = 2; n < size(); ++n)
    {
        forwards += twiceOf(n);
        backwards += twiceOf(size() + 1 - n);
    }
    return (forwards + backwards) / 4;
}

Box2D Polygonum::box() const
{
    Box2D box = Box2D::empty();
    for (const Vector2D& p : _points) box.extend(p);
    return box;
}

PointPlace Polygonum::locate(const Vector2D& point) const
{
    if (_points.empty()) return PointPlace::Outside;
    bool isInside = false;
    const Vector2D* from = &_points[size() - 1];
    for (const Vector2D& to : _points)
    {
        const Vector2D &low = from->y < to.y ? *from : to, &high = from->y < to.y ? to : *from;
        from = &to;
        if (point.y < low.y || point.y > high.y) continue;
        const double left = std::min(low.x, high.x), right = std::max(low.x, high.x);
        if (point.x > right) continue;
        const int side = point.x < left ? 1 : detail::sideOf(low, high, point);
        if (side == 0 && point.x >= left) return PointPlace::Border;
        if (side > 0 && low.y <= point.y && point.y < high.y) isInside = !isInside;
    }
    return isInside ? PointPlace::Inside : PointPlace::Outside;
}

void Polygonum::reverse()
{
    if (size() > 1) std::reverse(_points.begin() + 1, _points.end());
}

Polygonum Polygonum::simplified(double tolerance) const
{
    return Polygonum(std::move(polylinetools::simplifyLoops({_points}, tolerance).front()));
}

}  // namespace tavrix
