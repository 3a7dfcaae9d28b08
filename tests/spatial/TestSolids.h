#pragma once

#include <algorithm>
#include <cmath>
#include <functional>
#include <vector>

#include <tavrix/mesh/Mesh.h>
#include <tavrix/mesh/MeshRepair.h>

// Closed meshes with their shapes, and the distance from a face as it is defined.

namespace tavrix::test
{

/// Below 0 inside; its amount may be any where it is above the tolerance of a test.
using Shape = std::function<double(const Vector3D&)>;

inline double ball(const Vector3D& p, const Vector3D& center, double radius)
{
    return length(p - center) - radius;
}
inline double torus(const Vector3D& p, double R, double r)
{
    return std::hypot(std::hypot(p.x, p.y) - R, p.z) - r;
}
inline double cube(const Vector3D& p, double low, double high)
{
    return std::max({low - p.x, p.x - high, low - p.y, p.y - high, low - p.z, p.z - high});
}

/// A circle of radius r, turned about the z axis at the distance R: the whole circle, or the half of it that
/// goes from pole to pole.
inline Mesh makeTurned(const Vector3D& center, double R, double r, uint32 count, bool isWhole)
{
    const double pi = std::acos(-1.0);
    Mesh mesh;
    const uint32 steps = isWhole ? count : count - 1;
    for (uint32 u = 0; u < count; ++u)
        for (uint32 v = 0; v < count; ++v)
        {
            const double a = 2 * pi * u / count, b = isWhole ? 2 * pi * v / count : pi * v / steps - pi / 2;
            const double rho = R + r * std::cos(b);
            mesh.refPos().push_back(center + Vector3D{rho * std::cos(a), rho * std::sin(a), r * std::sin(b)});
            if (v == steps) continue;
            const uint32 u1 = (u + 1) % count, v1 = (v + 1) % count;
            mesh.refTrindexPos().push_back({u * count + v, u1 * count + v, u1 * count + v1});
            mesh.refTrindexPos().push_back({u * count + v, u1 * count + v1, u * count + v1});
        }
    return mesh;
}

/// Faces outwards where R > r.
inline Mesh makeTorus(double R, double r, uint32 count = 48)
{
    return makeTurned({0, 0, 0}, R, r, count, true);
}

/// Its poles are many corners at one place.
inline Mesh makeSphere(const Vector3D& center, double radius, uint32 count = 48)
{
    return makeTurned(center, 0, radius, count, false);
}

inline Mesh makeCube(double low, double high, const Vector3D& by = {0, 0, 0})
{
    Mesh mesh;
    mesh.createCubePrimitive({Vector3D{low, low, low} + by, Vector3D{high, high, high} + by});
    return mesh;
}

inline Mesh together(const Mesh& a, const Mesh& b)
{
    Mesh all(a);
    all.addMesh(b);
    return all;
}

inline Mesh flipped(Mesh mesh)
{
    turnFaces(mesh);
    return mesh;
}

struct Solid
{
    const char* name;
    Mesh mesh;
    Shape shape;
    double tolerance;  ///< of the faces against the shape
};

/// Solids whose corners, edges and faces lie on nodes, rows and planes of a grid of eighths, and others.
inline std::vector<Solid> closedSolids()
{
    const Vector3D o{0, 0, 0}, aside{0.75, 0.25, 0}, far{2, 0, 0};
    const Shape oneCube = [](const Vector3D& p) { return cube(p, -1, 1); };
    return {
        {"torus", makeTorus(1, 0.5), [](const Vector3D& p) { return torus(p, 1, 0.5); }, 0.01},
        {"sphere with poles on rows", makeSphere(o, 1), [o](const Vector3D& p) { return ball(p, o, 1); },
         0.01},
        {"cube with faces in planes of nodes", makeCube(-1, 1), oneCube, 1e-9},
        {"cube between the nodes", makeCube(-1.06, 0.93),
         [](const Vector3D& p) { return cube(p, -1.06, 0.93); }, 1e-9},
        {"cube around the grid", makeCube(-9, 9), [](const Vector3D&) { return -1.0; }, 0},
        {"overlapping spheres", together(makeSphere(o, 1), makeSphere(aside, 0.8)),
         [=](const Vector3D& p) { return std::min(ball(p, o, 1), ball(p, aside, 0.8)); }, 0.01},
        {"touching spheres", together(makeSphere(o, 1), makeSphere(far, 1)),
         [=](const Vector3D& p) { return std::min(ball(p, o, 1), ball(p, far, 1)); }, 0.01},
        {"cubes that share a face", together(makeCube(-1, 1), makeCube(-1, 1, far)),
         [=](const Vector3D& p) { return std::min(cube(p, -1, 1), cube(p - far, -1, 1)); }, 1e-9},
        {"a cube twice", together(makeCube(-1, 1), makeCube(-1, 1)), oneCube, 1e-9},
        {"sphere with a cavity", together(makeSphere(o, 1.5), flipped(makeSphere(aside, 0.5))),
         [=](const Vector3D& p) { return std::max(ball(p, o, 1.5), -ball(p, aside, 0.5)); }, 0.02},
        {"nothing", Mesh(), [](const Vector3D&) { return 1.0; }, 0},
    };
}

inline double distanceFromSegment(const Vector3D& p, const Vector3D& a, const Vector3D& b)
{
    const double square = dot(b - a, b - a);
    const double t = square > 0 ? std::clamp(dot(p - a, b - a) / square, 0.0, 1.0) : 0;
    return length(p - (a + (b - a) * t));
}

/// The nearest of the edges or, where the foot on the plane has barycentric coordinates above 0, of the
/// plane.
inline double distanceFromFace(const Vector3D& p, const Vector3D& a, const Vector3D& b, const Vector3D& c)
{
    const double edges =
        std::min({distanceFromSegment(p, a, b), distanceFromSegment(p, b, c), distanceFromSegment(p, c, a)});
    const Vector3D n = cross(b - a, c - a);
    const double longest = std::max({length(b - a), length(c - b), length(a - c)});
    const bool isOver = dot(cross(b - a, p - a), n) >= 0 && dot(cross(c - b, p - b), n) >= 0 &&
                        dot(cross(a - c, p - c), n) >= 0;
    const bool hasArea = length(n) > 1e-9 * longest * longest;
    return isOver && hasArea ? std::min(edges, std::fabs(dot(p - a, n)) / length(n)) : edges;
}

}  // namespace tavrix::test
