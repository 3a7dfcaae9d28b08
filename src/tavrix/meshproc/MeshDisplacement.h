#pragma once

#include <functional>
#include <span>

#include <tavrix/foundation/CancelCallback.h>
#include <tavrix/foundation/Vector3.h>
#include <tavrix/meshproc/HeightPicture.h>
#include <tavrix/platform/Export.h>
#include <tavrix/platform/Types.h>

namespace tavrix
{

class Mesh;

/// Moves the vertices of meshes along their normals, which are the angle-weighted ones, smooth over every
/// edge; a height above 0 is outwards. The faces stay, so the mesh should be fine enough to show what moves
/// it (MeshTessellator::splitEdges).
///
/// Vertices at one place whose faces border on each other, as along the seams of a texture, move together, by
/// the mean of their heights: closed surfaces stay closed. Heights that are not finite move nothing, and
/// vertices without a face stay. Normals, where there are some, are made anew, with the edges that they had;
/// face normals and smoothed normals likewise.
///
/// Each returns false when the callback stopped it, and leaves the mesh as it was. Indices must be valid.
/// Linear; the same bytes for every thread count.
class TX_GEOMETRY_API MeshDisplacement
{
public:
    /// The height at a vertex, by its place and unit normal. Several threads call it at once.
    using Height = std::function<double(const Vector3D& place, const Vector3D& normal)>;

    /// With so many threads, polling the callback.
    explicit MeshDisplacement(uint32 threadCount = 1, CancelCallback callback = nullptr)
        : _threadCount(threadCount), _callback(callback)
    {
    }

    /// By a height for each position.
    bool byHeights(Mesh& mesh, std::span<const double> heights) const;
    /// By a function, such as noise, or a scalar field: `[&](const Vector3D& p, const Vector3D&) { return
    /// field.evaluate(p); }`.
    bool byFunction(Mesh& mesh, const Height& height) const;
    /// By amount * (value - middle), the picture's values at the texture coordinates of the mesh, its array
    /// "UV_MAP_0" of Vector3F. Nothing moves without such an array.
    bool byPicture(Mesh& mesh, const HeightPicture& picture, double amount, double middle = 0) const;

private:
    uint32 _threadCount;
    CancelCallback _callback;
};

}  // namespace tavrix
