#include <tavrix/spatial/detail/FaceTree.h>

#include <atomic>
#include <bit>

#include <tavrix/foundation/detail/Polling.h>
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

/// A number in single precision that is lower, or higher, than the coordinate by at least the reach, and
/// hardly more than by rounding.
/// @{
double spareOf(double coordinate, double reach)
{
    return reach + std::fabs(coordinate) * 0x1p-23 + std::numeric_limits<float>::min();
}
float lowOf(double coordinate, double reach)
{
    constexpr double largest = std::numeric_limits<float>::max();
    return static_cast<float>(std::min(coordinate - spareOf(coordinate, reach), largest));
}
float highOf(double coordinate, double reach) { return -lowOf(-coordinate, reach); }
/// @}

/// A number for a position, the same for equal ones, and hardly for others.
uint64 markOf(const Vector3D& position)
{
    uint64 mark = 0;
    for (const double coordinate : {position.x, position.y, position.z})
    {
        mark = (mark ^ std::bit_cast<uint64>(coordinate + 0.0)) * 0x9E3779B97F4A7C15u;
        mark ^= mark >> 32;
    }
    return mark;
}

/// A number for an edge from one position to another, the opposite for the way back.
uint64 markOf(uint64 from, uint64 to)
{
    const uint64 both = (from + to) * 0xD6E8FEB86659FD93u;
    return (from - to) * ((both ^ (both >> 32)) | 1);
}

/// The sum over a face's edges, which vanishes in a closed mesh; nothing for a face that is not usable.
uint64 markOf(const WideFace& face)
{
    if (!isFinite(face.a)) return 0;
    const uint64 a = markOf(face.a), b = markOf(face.b), c = markOf(face.c);
    return markOf(a, b) + markOf(b, c) + markOf(c, a);
}

WideFace faceOf(const MeshFaces& faces, uint32 face)
{
    if (faces.isUsable(face))
        return {faces.corner(face, 0), faces.corner(face, 1), faces.corner(face, 2), face};
    constexpr double none = std::numeric_limits<double>::quiet_NaN();
    constexpr Vector3D nowhere{none, none, none};
    return {nowhere, nowhere, nowhere, face};
}

Box3F boxOf(const WideFace& face, float margin)
{
    if (!isFinite(face.a)) return Box3F::empty();
    Box3D box{face.a, face.a};
    box.extend(face.b);
    box.extend(face.c);
    return roundedOutwards(box, margin);
}

Box3F boxOf(const WideNode& node)
{
    Box3F box = Box3F::empty();
    for (uint32 n = 0; n < WideNode::width && node.children[n] != WideNode::noChild; ++n)
        for (uint32 axis = 0; axis < 3; ++axis)
        {
            box.min[axis] = std::min(box.min[axis], node.sides[WideNode::lowSides + axis][n]);
            box.max[axis] = std::max(box.max[axis], node.sides[WideNode::highSides + axis][n]);
        }
    return box;
}

void setBox(WideNode& node, uint32 child, const Box3F& box)
{
    for (uint32 axis = 0; axis < 3; ++axis)
    {
        node.sides[WideNode::lowSides + axis][child] = box.min[axis];
        node.sides[WideNode::highSides + axis][child] = box.max[axis];
    }
}

}  // namespace

FaceTree::FaceTree(const MeshFaces& faces, uint32 threadCount, Polling& polling)
{
    WideTopology topology = buildWideTree(faces, threadCount, polling);
    if (polling.isStopped()) return;
    _faces.resize(topology.order.size());
    _nodes.resize(topology.nodes.size());
    const auto takeFaces = [&](uint32, uint64 begin, uint64 end)
    {
        for (uint64 slot = begin; slot < end; ++slot) _faces[slot].number = topology.order[slot];
    };
    const auto takeNodes = [&](uint32, uint64 begin, uint64 end)
    {
        for (uint64 n = begin; n < end; ++n)
            std::copy(topology.nodes[n].begin(), topology.nodes[n].end(), _nodes[n].children);
    };
    if (inPieces(polling, _faces.size(), scatteredItems, threadCount, takeFaces) &&
        inPieces(polling, _nodes.size(), scatteredItems, threadCount, takeNodes))
        refit(faces, 0, threadCount, polling);
}

void FaceTree::refit(const MeshFaces& faces, float margin, uint32 threadCount, Polling& polling)
{
    constexpr float infinity = std::numeric_limits<float>::infinity();
    constexpr Box3F nothing{{infinity, infinity, infinity}, {-infinity, -infinity, -infinity}};
    std::atomic<uint64> openEdges = 0;
    const auto fitToFaces = [&](WideNode& node)
    {
        uint64 marks = 0;
        for (uint32 n = 0; n < WideNode::width; ++n)
            if (const uint32 child = node.children[n]; child == WideNode::noChild)
                setBox(node, n, nothing);
            else if (WideNode::isFace(child))
            {
                const uint32 slot = WideNode::slotOf(child);
                _faces[slot] = faceOf(faces, _faces[slot].number);
                setBox(node, n, boxOf(_faces[slot], margin));
                marks += markOf(_faces[slot]);
            }
        return marks;
    };
    constexpr uint64 nodesPerPiece = scatteredItems / 8;  // of some eight faces
    inPieces(polling, _nodes.size(), nodesPerPiece, threadCount,
             [&](uint32, uint64 begin, uint64 end)
             {
                 uint64 marks = 0;
                 for (uint64 n = begin; n < end; ++n) marks += fitToFaces(_nodes[n]);
                 openEdges += marks;
             });
    _isClosed = openEdges == 0;
    // nodes come before those below them
    inPieces(polling, _nodes.size(), scatteredItems,
             [&](uint64 begin, uint64 end)
             {
                 for (uint64 n = _nodes.size() - begin; n-- > _nodes.size() - end;)
                     for (uint32 child = 0; child < WideNode::width; ++child)
                         if (const uint32 link = _nodes[n].children[child]; !WideNode::isFace(link))
                             setBox(_nodes[n], child, boxOf(_nodes[link]));
             });
    _box = _nodes.empty() ? Box3F::empty() : boxOf(_nodes[0]);
    for (uint32 axis = 0; axis < 3; ++axis)
    {
        _beyond.min[axis] = std::nextafter(_box.min[axis], -infinity);
        _beyond.max[axis] = std::nextafter(_box.max[axis], infinity);
    }
}

Array<Vector3D> FaceTree::cornersByFace() const
{
    Array<Vector3D> corners(3 * _faces.size());
    for (const WideFace& face : _faces)
    {
        Vector3D* const to = corners.data() + std::size_t{3} * face.number;
        to[0] = face.a;
        to[1] = face.b;
        to[2] = face.c;
    }
    return corners;
}

/// Makes the ray ready for boxes: false when it does not come to any within the limit. Its origin is moved to
/// where it enters the box of all faces, so that single precision is enough however far away it starts.
bool FaceTree::meets(const Ray3D& ray, double limit, WideRay& wide) const
{
    // along an axis that the ray hardly moves along it may as well move a little
    constexpr double slowest = 0x1p-60;
    const double reach = reachOf(ray.origin, _box);
    double inverse[3], first = 0, last = finite(limit);
    for (uint32 axis = 0; axis < 3; ++axis)
    {
        const double direction = ray.direction[axis], origin = ray.origin[axis];
        const bool isDown = direction < 0;
        inverse[axis] = 1 / (isDown ? std::min(direction, -slowest) : std::max(direction, slowest));
        const double low = (_box.min[axis] - reach - origin) * inverse[axis];
        const double high = (_box.max[axis] + reach - origin) * inverse[axis];
        // what is not a number, in an infinite box, changes nothing
        first = std::max(first, isDown ? high : low);
        last = std::min(last, isDown ? low : high);
        wide.nearSides[axis] = axis + (isDown ? WideNode::highSides : WideNode::lowSides);
        wide.farSides[axis] = axis + (isDown ? WideNode::lowSides : WideNode::highSides);
    }
    if (!(first <= last)) return false;
    wide.start = first;
    for (uint32 axis = 0; axis < 3; ++axis)
    {
        const double origin = ray.origin[axis] + ray.direction[axis] * first;
        const float low = lowOf(origin, reach), high = highOf(origin, reach);
        wide.inverse[axis] = static_cast<float>(inverse[axis]);
        const bool isDown = inverse[axis] < 0;
        wide.near[axis] = isDown ? low : high;
        wide.far[axis] = isDown ? high : low;
    }
    return true;
}

WidePoint FaceTree::wide(const Vector3D& point) const
{
    const double reach = reachOf(point, _box);
    WidePoint wide;
    for (uint32 axis = 0; axis < 3; ++axis)
    {
        wide.low[axis] = lowOf(point[axis], reach);
        wide.high[axis] = highOf(point[axis], reach);
    }
    return wide;
}

}  // namespace tavrix::detail
