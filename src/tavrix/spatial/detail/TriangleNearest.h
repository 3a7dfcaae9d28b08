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
        // from the original corners: their differences from a distant point lose digits
        const Vector3D edges[3] = {b - a, c - b, a - c};
        TriangleNearest nearest;
        nearest.tryInside(corners, edges);
        for (uint32 corner = 0; corner < 3; ++corner) nearest.tryEdge(corners, edges[corner], corner);
        return nearest;
    }

private:
    void tryInside(const Vector3D (&corners)[3], const Vector3D (&edges)[3])
    {
        const Vector3D normal = cross(edges[2], edges[0]), across = cross(normal, corners[0]);
        const double square = dot(normal, normal);
        const double y = dot(edges[2], across), z = dot(edges[0], across), x = square - y - z;
        if (x >= 0 && y >= 0 && z >= 0 && square > 0) consider(corners, Vector3D{x, y, z} / square);
    }

    /// The edge from a corner to the next.
    void tryEdge(const Vector3D (&corners)[3], const Vector3D& edge, uint32 from)
    {
        const double along = -dot(corners[from], edge), square = dot(edge, edge);
        const double t = along > 0 ? (along < square ? along / square : 1) : 0;
        Vector3D w{0, 0, 0};
        w[from] = 1 - t;
        w[(from + 1) % 3] = t;
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
