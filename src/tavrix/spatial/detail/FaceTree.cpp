#include <tavrix/spatial/detail/FaceTree.h>

#include <tavrix/foundation/ParallelFor.h>
#include <tavrix/spatial/BoxQueries.h>
#include <tavrix/spatial/detail/TriangleBox.h>
#include <tavrix/spatial/detail/WideTreeBuilder.h>

namespace tavrix::detail
{

namespace
{

/// What the tests of triangles may be off by, of the coordinates, and far more. It costs nothing: boxes are
/// in single precision.
constexpr double rounding = 0x1p-30;

double reachOf(const Vector3D& point, const Box3F& box)
{
    return roundingReach(point, box) * (rounding / 0x1p-48);
}

/// The corner of a face, or no numbers.
Vector3D cornerOf(const MeshFaces& faces, uint32 face, uint32 corner)
{
    constexpr double none = std::numeric_limits<double>::quiet_NaN();
    if (face < faces.faceCount && faces.faces[face][corner] < faces.positionCount)
        if (const Vector3D& position = faces.corner(face, corner); isFinite(position)) return position;
    return {none, none, none};
}

Box3F boxOf(const FaceCorners& corners, float margin)
{
    if (!isFinite(corners.a) || !isFinite(corners.b) || !isFinite(corners.c)) return Box3F::empty();
    Box3D box{corners.a, corners.a};
    box.extend(corners.b);
    box.extend(corners.c);
    return roundedOutwards(box, margin);
}

Box3F boxOf(const WideNode& node)
{
    Box3F box = Box3F::empty();
    for (uint32 n = 0; n < WideNode::width && node.children[n] != WideNode::noChild; ++n)
        for (uint32 axis = 0; axis < 3; ++axis)
        {
            box.min[axis] = std::min(box.min[axis], node.sides[0][axis][n]);
            box.max[axis] = std::max(box.max[axis], node.sides[1][axis][n]);
        }
    return box;
}

void setBox(WideNode& node, uint32 child, const Box3F& box)
{
    for (uint32 axis = 0; axis < 3; ++axis)
    {
        node.sides[0][axis][child] = box.min[axis];
        node.sides[1][axis][child] = box.max[axis];
    }
}

}  // namespace

FaceTree::FaceTree(const MeshFaces& faces, uint32 threadCount)
{
    WideTopology topology = buildWideTree(faces, threadCount);
    _faces.swap(topology.order);
    _nodes.resize(topology.nodes.size());
    parallelFor(_nodes.size(), threadCount,
                [&](uint32, uint64 begin, uint64 end)
                {
                    for (uint64 n = begin; n < end; ++n)
                        std::copy(topology.nodes[n].begin(), topology.nodes[n].end(), _nodes[n].children);
                });
    copyTriangles(faces);
    fitBoxes(0, threadCount);
}

void FaceTree::copyTriangles(const MeshFaces& faces)
{
    Array<uint32> numbers(faces.positionCount, noIndex);
    _triangles.resize(_faces.size());
    _positions.reserve(std::min(faces.positionCount, 3 * faces.faceCount));
    for (uint32 slot = 0; slot < _faces.size(); ++slot)
        for (uint32 corner = 0; corner < 3; ++corner)
        {
            const uint32 vertex = faces.faces[_faces[slot]][corner];
            uint32 number = vertex < faces.positionCount ? numbers[vertex] : noIndex;
            if (number == noIndex)
            {
                number = _positions.size();
                if (vertex < faces.positionCount) numbers[vertex] = number;
                _positions.push_back(cornerOf(faces, _faces[slot], corner));
            }
            _triangles[slot][corner] = number;
        }
}

void FaceTree::refit(const MeshFaces& faces, float margin)
{
    for (uint32 slot = 0; slot < _faces.size(); ++slot)
        for (uint32 corner = 0; corner < 3; ++corner)
            _positions[_triangles[slot][corner]] = cornerOf(faces, _faces[slot], corner);
    fitBoxes(margin, 1);
}

void FaceTree::fitBoxes(float margin, uint32 threadCount)
{
    constexpr float infinity = std::numeric_limits<float>::infinity();
    constexpr Box3F nothing{{infinity, infinity, infinity}, {-infinity, -infinity, -infinity}};
    const auto fitToFaces = [&](WideNode& node)
    {
        for (uint32 n = 0; n < WideNode::width; ++n)
            if (const uint32 child = node.children[n]; child == WideNode::noChild)
                setBox(node, n, nothing);
            else if (WideNode::isFace(child))
                setBox(node, n, boxOf(corners(WideNode::slotOf(child)), margin));
    };
    parallelFor(_nodes.size(), threadCount,
                [&](uint32, uint64 begin, uint64 end)
                {
                    for (uint64 n = begin; n < end; ++n) fitToFaces(_nodes[n]);
                });
    // nodes come before those below them
    for (uint32 n = _nodes.size(); n-- > 0;)
        for (uint32 child = 0; child < WideNode::width; ++child)
            if (const uint32 link = _nodes[n].children[child]; !WideNode::isFace(link))
                setBox(_nodes[n], child, boxOf(_nodes[link]));
    _box = _nodes.empty() ? Box3F::empty() : boxOf(_nodes[0]);
}

Array<Vector3D> FaceTree::cornersByFace() const
{
    Array<Vector3D> corners(3 * _faces.size());
    for (uint32 slot = 0; slot < _faces.size(); ++slot)
    {
        Vector3D* const to = corners.data() + std::size_t{3} * _faces[slot];
        const FaceCorners own = this->corners(slot);
        to[0] = own.a;
        to[1] = own.b;
        to[2] = own.c;
    }
    return corners;
}

/// Makes the ray ready for boxes: false when it does not come to any within the limit. Its origin is moved to
/// where it enters the box of all faces, so that single precision is enough however far away it starts.
bool FaceTree::meets(const Ray3D& ray, double limit, WideRay& wide) const
{
    if (_nodes.empty()) return false;
    wide.start = RaySlabs(ray, _box).entry(_box);
    if (!(wide.start <= finite(limit))) return false;
    const Vector3D origin = ray.at(wide.start);
    const double reach = reachOf(ray.origin, _box);
    for (uint32 axis = 0; axis < 3; ++axis)
    {
        // along an axis that the ray hardly moves along it may as well move a little
        constexpr double slowest = 0x1p-60;
        const double direction = ray.direction[axis];
        const bool isDown = direction < 0;
        wide.inverse[axis] =
            static_cast<float>(1 / (isDown ? std::min(direction, -slowest) : std::max(direction, slowest)));
        wide.nearSide[axis] = isDown ? 1 : 0;
        const double low = origin[axis] - reach, high = origin[axis] + reach;
        wide.near[axis] = isDown ? floatBelow(low) : floatAbove(high);
        wide.far[axis] = isDown ? floatAbove(high) : floatBelow(low);
    }
    return true;
}

WidePoint FaceTree::wide(const Vector3D& point) const
{
    const double reach = reachOf(point, _box);
    WidePoint wide;
    for (uint32 axis = 0; axis < 3; ++axis)
    {
        wide.low[axis] = floatBelow(point[axis] - reach);
        wide.high[axis] = floatAbove(point[axis] + reach);
    }
    return wide;
}

}  // namespace tavrix::detail
