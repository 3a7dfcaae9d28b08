#pragma once

#include <tavrix/foundation/Vector3.h>

namespace tavrix::detail
{

/// How often the faces wind around a point, as the two rays along an axis from it tell.
///
/// A face counts by how its outline goes around the axis, one edge at a time, and an edge counts the same, or
/// the opposite, for the faces on its two sides. So the faces of a closed mesh add up to nothing along the
/// whole line even where it runs through edges and corners, and both rays find the same number.
class LineWinding
{
public:
    LineWinding(const Vector3D& point, uint32 axis) : _point(point), _axis(axis) {}

    void add(const Vector3D& a, const Vector3D& b, const Vector3D& c)
    {
        const Vector3D p = moved(a), q = moved(b), r = moved(c);
        const int32 around = crossing(p, q) + crossing(q, r) + crossing(r, p);
        if (around != 0) (isAhead(p, q, r) ? _ahead : _behind) += around;
    }

    /// The sum of both rays: twice the winding number where the mesh is closed.
    int32 sum() const { return _ahead - _behind; }
    /// The same for a closed mesh, of which those faces alone were added that reach ahead of the point, or
    /// behind it: all faces of the line add up to nothing.
    /// @{
    int32 sumOfAhead() const { return 2 * _ahead; }
    int32 sumOfBehind() const { return -2 * _behind; }
    /// @}

private:
    /// Relative to the point, the axis in z.
    Vector3D moved(const Vector3D& corner) const
    {
        const Vector3D v = corner - _point;
        return {v[(_axis + 1) % 3], v[(_axis + 2) % 3], v[_axis]};
    }

    /// Whether the edge crosses the positive x axis, seen along z: 1 upwards, -1 downwards.
    static int32 crossing(const Vector3D& a, const Vector3D& b)
    {
        // without branches, none of which could be foreseen
        const double left = a.x * b.y, right = a.y * b.x;
        const bool isUp = (a.y < 0) & !(b.y < 0) & (left > right);
        const bool isDown = !(a.y < 0) & (b.y < 0) & (left < right);
        return int32{isUp} - int32{isDown};
    }

    static bool isAhead(const Vector3D& a, const Vector3D& b, const Vector3D& c)
    {
        if (a.z > 0 && b.z > 0 && c.z > 0) return true;
        if (a.z < 0 && b.z < 0 && c.z < 0) return false;
        const double u = b.x * c.y - b.y * c.x, v = c.x * a.y - c.y * a.x, w = a.x * b.y - a.y * b.x;
        const double height = u * a.z + v * b.z + w * c.z;
        return u + v + w > 0 ? height > 0 : height < 0;
    }

    Vector3D _point;
    uint32 _axis;
    int32 _ahead = 0, _behind = 0;
};

}  // namespace tavrix::detail
