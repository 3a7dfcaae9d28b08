#pragma once

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

}  // namespace tavrix::tool
