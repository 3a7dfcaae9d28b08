#pragma once

#include <limits>

#include <tavrix/foundation/Vector3.h>

namespace tavrix::detail
{

/// The point of a triangle that is nearest to another point: the corners' weights, and the squared distance.
struct TriangleNearest
{
    double squared = std::numeric_limits<double>::infinity();
    Vector3D weights{1, 0, 0};

    /// Every candidate is a point of the triangle, and the nearest counts; so a triangle that is too thin for
    /// its plane to be known is as good as its edges.
    static TriangleNearest to(const Vector3D& point, const Vector3D& a, const Vector3D& b, const Vector3D& c)
    {
        const Vector3D corners[3] = {a - point, b - point, c - point};
        TriangleNearest nearest;
        nearest.tryInside(corners);
        for (uint32 corner = 0; corner < 3; ++corner) nearest.tryEdge(corners, corner, (corner + 1) % 3);
        return nearest;
    }

private:
    void tryInside(const Vector3D (&corners)[3])
    {
        const auto& [a, b, c] = corners;
        const Vector3D normal = cross(b - a, c - a);
        const Vector3D w{dot(normal, cross(b, c)), dot(normal, cross(c, a)), dot(normal, cross(a, b))};
        const double sum = w.x + w.y + w.z;
        if (w.x >= 0 && w.y >= 0 && w.z >= 0 && sum > 0) consider(corners, w / sum);
    }

    void tryEdge(const Vector3D (&corners)[3], uint32 from, uint32 to)
    {
        const Vector3D edge = corners[to] - corners[from];
        const double along = -dot(corners[from], edge), square = dot(edge, edge);
        const double t = along > 0 ? (along < square ? along / square : 1) : 0;
        Vector3D w{0, 0, 0};
        w[from] = 1 - t;
        w[to] = t;
        consider(corners, w);
    }

    void consider(const Vector3D (&corners)[3], const Vector3D& w)
    {
        const Vector3D foot = corners[0] * w.x + corners[1] * w.y + corners[2] * w.z;
        const double candidate = dot(foot, foot);
        if (!(candidate < squared)) return;
        squared = candidate;
        weights = w;
    }
};

}  // namespace tavrix::detail
