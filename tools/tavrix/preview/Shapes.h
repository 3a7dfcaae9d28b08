#pragma once

#include <cmath>
#include <limits>
#include <span>
#include <vector>

#include <tavrix/foundation/Array.h>
#include <tavrix/mesh/Mesh.h>

#include "preview/RayTree.h"
#include "preview/View.h"

namespace tavrix::tool
{

/// A place on a shape: the normal of the shape there, and the one to shade it with; neither is turned to the
/// viewer.
struct Normals
{
    Vector3F geometric, shading;
};

/// What the renderer wants of shapes: whether a ray meets one at a distance in (0, ray.far), the normals
/// there, and whether there are any. Shapes are held on the stage, in the order of their tree.

/// The drawable faces of a mesh: those whose indices exist and whose corners are finite.
class TriangleShapes
{
public:
    /// `mesh` must outlive this.
    TriangleShapes(const Mesh& mesh, const View& view, uint32 threads);

    const RayTree& tree() const { return _tree; }
    /// The distance to the triangle at a place of the tree; infinite when the ray misses it.
    float distance(uint32 place, const Ray& ray) const;
    Normals normals(uint32 place, const Ray& ray, float distance) const;

private:
    /// A corner and the two edges from it.
    struct Triangle
    {
        Vector3F corner, edgeB, edgeC;
    };

    const Mesh& _mesh;
    UpAxis _up;
    std::vector<uint32> _faces;  ///< of the mesh, in the order of the tree
    std::vector<Triangle> _triangles;
    RayTree _tree;
};

/// Spheres of one radius; those without a finite centre are left out.
class SphereShapes
{
public:
    SphereShapes(const Array<Vector3F>& centers, float radius, const View& view, uint32 threads);

    const RayTree& tree() const { return _tree; }
    float distance(uint32 place, const Ray& ray) const;
    Normals normals(uint32 place, const Ray& ray, float distance) const;

private:
    float _radius;
    std::vector<Vector3F> _centers;
    RayTree _tree;
};

/// The distance at which the ray meets the plane of the triangle, when the barycentric coordinates of the
/// place say that it lies inside. The borders are a trifle wide, so that no ray slips between neighbours.
inline float TriangleShapes::distance(uint32 place, const Ray& ray) const
{
    constexpr float slack = 1e-5f;
    const Triangle& t = _triangles[place];
    const Vector3F p = cross(ray.direction, t.edgeC);
    const float determinant = dot(t.edgeB, p);
    const Vector3F s = ray.origin - t.corner;
    const float factor = 1 / determinant;
    const float b = dot(s, p) * factor;
    if (!(b >= -slack && b <= 1 + slack)) return std::numeric_limits<float>::infinity();
    const Vector3F q = cross(s, t.edgeB);
    const float c = dot(ray.direction, q) * factor;
    if (!(c >= -slack && b + c <= 1 + slack)) return std::numeric_limits<float>::infinity();
    const float distance = dot(t.edgeC, q) * factor;
    return distance > 0 ? distance : std::numeric_limits<float>::infinity();
}

inline float SphereShapes::distance(uint32 place, const Ray& ray) const
{
    const Vector3F offset = ray.origin - _centers[place];
    const float half = dot(offset, ray.direction);
    const Vector3F nearest = offset - ray.direction * half;
    const float square = _radius * _radius - dot(nearest, nearest);
    if (!(square >= 0)) return std::numeric_limits<float>::infinity();
    const float enter = -half - std::sqrt(square);
    return enter > 0 ? enter : std::numeric_limits<float>::infinity();
}

}  // namespace tavrix::tool
