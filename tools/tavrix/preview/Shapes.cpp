#include "preview/Shapes.h"

#include <algorithm>
#include <cmath>

#include <tavrix/foundation/ParallelFor.h>

namespace tavrix::tool
{

namespace
{

/// Lengths of the stage beyond which nothing is drawn: single precision has nothing to say there.
constexpr float edgeOfStage = 1e6f;

bool isOnStage(const Vector3F& p)
{
    return std::fabs(p.x) < edgeOfStage && std::fabs(p.y) < edgeOfStage && std::fabs(p.z) < edgeOfStage;
}

bool isDrawable(const Array<Vector3D>& positions, const Index3& face)
{
    return std::max({face.a, face.b, face.c}) < positions.size() && isFinite(positions[face.a]) &&
           isFinite(positions[face.b]) && isFinite(positions[face.c]);
}

Box3F boxOf(const Vector3F& a, const Vector3F& b, const Vector3F& c)
{
    Box3F box{a, a};
    box.extend(b);
    box.extend(c);
    return box;
}

/// The elements in the order.
template <class T>
std::vector<T> permuted(const std::vector<T>& elements, const std::vector<uint32>& order)
{
    std::vector<T> result;
    result.reserve(order.size());
    for (const uint32 n : order) result.push_back(elements[n]);
    return result;
}

}  // namespace

TriangleShapes::TriangleShapes(const Mesh& mesh, const View& view, uint32 threads) : _mesh(mesh), _up(view.up)
{
    std::vector<Box3F> boxes;
    const auto corner = [&](uint32 index) { return view.toStage(mesh.pos()[index]); };
    for (uint32 f = 0; f < mesh.getFacesSize(); ++f)
    {
        const Index3& face = mesh.trindexPos()[f];
        if (!isDrawable(mesh.pos(), face)) continue;
        const Box3F box = boxOf(corner(face.a), corner(face.b), corner(face.c));
        if (!isOnStage(box.min) || !isOnStage(box.max)) continue;
        _faces.push_back(f);
        boxes.push_back(box);
    }
    _tree = RayTree(boxes, threads);
    std::vector<Box3F>().swap(boxes);
    _faces = permuted(_faces, _tree.takeOrder());
    _triangles.resize(_faces.size());
    parallelFor(_faces.size(), threads,
                [&](uint32, uint64 begin, uint64 end)
                {
                    for (uint64 n = begin; n < end; ++n)
                    {
                        const Index3& face = mesh.trindexPos()[_faces[n]];
                        const Vector3F a = corner(face.a);
                        _triangles[n] = {a, corner(face.b) - a, corner(face.c) - a};
                    }
                });
}

Normals TriangleShapes::normals(uint32 place, const Ray& ray, float distance) const
{
    const Triangle& t = _triangles[place];
    const Vector3F scaledNormal = cross(t.edgeB, t.edgeC), flat = unitOrZero(scaledNormal);
    const uint32 face = _faces[place];
    const Array<Vector3F>& nor = _mesh.nor();
    if (_mesh.trindexNor().size() <= face) return {flat, flat};
    const Index3& corners = _mesh.trindexNor()[face];
    if (std::max({corners.a, corners.b, corners.c}) >= nor.size()) return {flat, flat};

    const Vector3F offset = ray.at(distance) - t.corner;
    const float whole = dot(scaledNormal, scaledNormal);
    const float b = dot(cross(offset, t.edgeC), scaledNormal) / whole;
    const float c = dot(cross(t.edgeB, offset), scaledNormal) / whole;
    const Vector3F mixed = nor[corners.a] * (1 - b - c) + nor[corners.b] * b + nor[corners.c] * c;
    const Vector3F smooth = unitOrZero(_up == UpAxis::Y ? mixed : Vector3F{mixed.x, mixed.z, -mixed.y});
    // Normals of a file that winds its faces the other way, or that says nothing of use, are put right here.
    const float agreement = dot(smooth, flat);
    if (!(std::fabs(agreement) > 0.1f)) return {flat, flat};
    return {flat, agreement > 0 ? smooth : -smooth};
}

SphereShapes::SphereShapes(const Array<Vector3F>& centers, float radius, const View& view, uint32 threads)
    : _radius(static_cast<float>(static_cast<double>(radius) * view.scale))
{
    std::vector<Box3F> boxes;
    const Vector3F reach{_radius, _radius, _radius};
    for (const Vector3F& center : centers)
    {
        const Vector3F c = view.toStage(convert<double>(center));
        if (!isOnStage(c)) continue;
        _centers.push_back(c);
        boxes.push_back({c - reach, c + reach});
    }
    _tree = RayTree(boxes, threads);
    _centers = permuted(_centers, _tree.takeOrder());
}

Normals SphereShapes::normals(uint32 place, const Ray& ray, float distance) const
{
    const Vector3F normal = unitOrZero(ray.at(distance) - _centers[place]);
    return {normal, normal};
}

}  // namespace tavrix::tool
