#pragma once

#include <algorithm>
#include <limits>

#include <tavrix/foundation/Ray3.h>
#include <tavrix/mesh/detail/MeshFaces.h>
#include <tavrix/spatial/detail/WideTreeKernel.h>

namespace tavrix::detail
{

/// A copy of the faces of a mesh under a wide tree (WideNode), for queries. Faces lie in slots, near ones
/// side by side. The corners of those that are not usable are not numbers; tests of triangles find nothing
/// there.
class FaceTree
{
public:
    /// The tree means nothing once the polling has stopped.
    FaceTree(const MeshFaces& faces, uint32 threadCount, Polling& polling);

    /// Takes the corners that the same faces have now, and widens boxes by `margin` as
    /// GeometryTree::recalculateMesh does.
    void refit(const MeshFaces& faces, float margin, uint32 threadCount, Polling& polling);

    uint32 faceCount() const { return _faces.size(); }
    /// Three corners a face, by the faces' numbers.
    Array<Vector3D> cornersByFace() const;
    /// The smallest box in single precision around all faces.
    const Box3F& box() const { return _box; }
    /// Whether the box holds the point, when that is rounded to single precision, one way or the other.
    bool mayHold(const Vector3D& point) const
    {
        for (uint32 axis = 0; axis < 3; ++axis)
            if (!(_beyond.min[axis] < point[axis] && point[axis] < _beyond.max[axis])) return false;
        return true;
    }
    /// Whether the faces of every edge are as many on its one side as on the other, so that they are the
    /// faces of solids. Told by a sum over the edges, which is wrong once in 2^64 times.
    bool isClosed() const { return _isClosed; }
    const WideFace& face(uint32 slot) const { return _faces[slot]; }

    /// Calls visit(slot, limit), which returns the limit to go on with, for faces that a ray may hit within
    /// the limit, in lengths of its direction, whose largest component is in [1, 2); near ones first. Ray and
    /// limit are numbers.
    template <class Visit>
    void visitRay(const Ray3D& ray, double limit, Visit visit) const
    {
        WideRay wide;
        if (!meets(ray, limit, wide)) return;
        TX_RUN_KERNEL(visitRay, arrays(), wide, finite(limit), visitor(visit));
    }
    /// The same for faces that may be within a squared distance from a point, which is finite.
    template <class Visit>
    void visitNearest(const Vector3D& point, double squaredLimit, Visit visit) const
    {
        if (_nodes.empty()) return;
        TX_RUN_KERNEL(visitNearest, arrays(), wide(point), finite(squaredLimit), visitor(visit));
    }
    /// Calls visit(slot) for faces that a box may overlap.
    template <class Visit>
    void visitOverlapping(const Box3F& box, Visit visit) const
    {
        if (_nodes.empty()) return;
        const WideBox wide{{box.min.x, box.min.y, box.min.z}, {box.max.x, box.max.y, box.max.z}};
        auto forAll = [&](uint32 slot, double limit)
        {
            visit(slot);
            return limit;
        };
        TX_RUN_KERNEL(visitOverlapping, arrays(), wide, visitor(forAll));
    }

private:
    template <class Visit>
    static FaceVisitor visitor(Visit& visit)
    {
        return {[](void* context, uint32 slot, double limit) -> double
                { return (*static_cast<Visit*>(context))(slot, limit); },
                &visit};
    }

    WideTree arrays() const { return {_nodes.data(), _faces.data()}; }
    static double finite(double limit) { return std::min(limit, std::numeric_limits<double>::max()); }
    bool meets(const Ray3D& ray, double limit, WideRay& wide) const;
    WidePoint wide(const Vector3D& point) const;

    Array<WideNode> _nodes;
    Array<WideFace> _faces;
    Box3F _box;
    Box3F _beyond;  ///< the sides of the next larger box
    bool _isClosed = false;
};

}  // namespace tavrix::detail
