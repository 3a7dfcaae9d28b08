#pragma once

#include <algorithm>
#include <array>
#include <limits>

#include <tavrix/foundation/Array.h>
#include <tavrix/foundation/detail/Polling.h>
#include <tavrix/foundation/Tuple.h>
#include <tavrix/foundation/Vector3.h>
#include <tavrix/meshproc/Quadric.h>

namespace tavrix::detail
{

/// How a point may move.
enum class PointKind : uint8
{
    Free,   ///< inside of a surface
    Curve,  ///< on a border or a seam, along which it may move
    Fixed   ///< where curves end or meet, and where the surface is no manifold
};

/// A face around a point, from the point's corner on.
struct StarFace
{
    uint32 face, corner;
    uint32 next, previous;  ///< the points of the following corner and of the one before

    bool has(uint32 point) const { return next == point || previous == point; }
    /// The corner at a point that is one of the others.
    uint32 cornerOf(uint32 point) const { return (corner + (next == point ? 1 : 2)) % 3; }
};

/// The faces around a point, up to largestSize of them.
class Star
{
public:
    /// Points with more faces take no part in collapses, so that a fan of thousands does not cost thousands a
    /// look.
    static constexpr uint32 largestSize = 512;

    Star() = default;
    uint32 size() const { return _size; }
    bool isFull() const { return _size == largestSize; }
    void clear() { _size = 0; }
    void push_back(const StarFace& face) { _faces[_size++] = face; }
    const StarFace& operator[](uint32 n) const { return _faces[n]; }
    const StarFace* begin() const { return _faces.data(); }
    const StarFace* end() const { return _faces.data() + _size; }

    Star(const Star& other) { *this = other; }
    Star& operator=(const Star& other)
    {
        _size = other._size;
        std::copy(other.begin(), other.end(), _faces.data());
        return *this;
    }

private:
    uint32 _size = 0;
    std::array<StarFace, largestSize> _faces;
};

/// Whether one face of the star alone has the edge to the point.
inline bool isBorder(const Star& star, uint32 point)
{
    return std::count_if(star.begin(), star.end(), [point](const StarFace& s) { return s.has(point); }) == 1;
}

/// Where the points of an edge may meet.
enum class MeetingPlace : uint32
{
    Best,   ///< where their quadrics are lowest
    First,  ///< at the first of the points
    Second
};

/// The edge that a point waits with, to a point of a higher number.
struct BestEdge
{
    float cost;
    uint32 target;  ///< noIndex: there is none
    uint32 stamp;   ///< the target's version when the cost was computed, and the place

    static BestEdge none() { return {std::numeric_limits<float>::infinity(), noIndex, 0}; }
    static BestEdge to(uint32 target, uint32 version, MeetingPlace place, float cost)
    {
        return {cost, target, 4 * version + static_cast<uint32>(place)};
    }
    MeetingPlace place() const { return static_cast<MeetingPlace>(stamp % 4); }
    uint32 version() const { return stamp / 4; }
    bool isNone() const { return target == noIndex; }
};

/// All of a point that a collapse looks at, in two lines of the cache.
struct alignas(64) CollapsePoint
{
    static constexpr uint32 lastVersion = (1u << 30) - 1;

    Vector3D place;
    Quadric quadric;
    BestEdge best;
    uint32 version;  ///< counts the collapses here, in 30 bits
    uint32 firstCorner, cornerCount;
};
static_assert(sizeof(CollapsePoint) == 128);

/// Points and triangles whose edges can be collapsed: two points become one, and the faces between them go.
class CollapseMesh
{
public:
    /// Takes faces whose corners are three different points; where these lie is the caller's to say.
    /// Means nothing once the polling has stopped.
    CollapseMesh(uint32 pointCount, Array<Index3> faces, Polling& polling);

    uint32 pointCount() const { return points.size(); }
    bool isAlive(uint32 point) const { return points[point].cornerCount > 0; }
    bool isFace(uint32 face) const { return faces[face].a != noIndex; }

    /// The faces around a point, ascending until the first collapse there; false when there are more than
    /// Star::largestSize.
    bool findStar(uint32 point, Star& star);

    /// Asks for what findStar will look at, and before that for what this looks at.
    /// @{
    void prefetchPoint(uint32 point) const;
    void prefetchStar(uint32 point) const;
    /// @}

    /// Joins `gone` to `kept`, which takes the place, the sum of the quadrics and the worse of the kinds. The
    /// stars are those of both, and become that of `kept`.
    void collapse(uint32 kept, uint32 gone, const Vector3D& place, Star& keptStar, const Star& goneStar);

    Array<CollapsePoint> points;
    Array<PointKind> kinds;
    Array<Index3> faces;  ///< noIndex is the first corner of those that are gone
    uint32 faceCount;     ///< that are left

private:
    void makeRoom(uint32 corners);

    Array<uint32> _corners;  ///< of the points: 3 face + corner, also of faces that are gone
};

}  // namespace tavrix::detail
